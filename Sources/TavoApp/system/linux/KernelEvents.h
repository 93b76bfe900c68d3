#pragma once

#include "system/PowerEnvironmentProviding.h"

#include <string_view>

namespace tavo {

/// Whether one message of the kernel's device events is about a power supply. Its form, netlink(7) and the kernel's
/// lib/kobject_uevent.c: "ACTION@DEVPATH", then "KEY=VALUE" for each property, every one with a null byte at its end.
bool isPowerSupplyEvent(std::string_view message);

/// Hears of changes of the power supply from the kernel: its events come over a netlink socket that anyone may open.
/// Messages that do not come from the kernel itself are ignored.
class KernelPowerChanges final : public PowerChangeNotifying {
public:
    /// The observer is called once for several events that come together, on a thread of the watch's own.
    std::unique_ptr<PowerChangeWatch> watch(std::function<void()> observer) override;
};

} // namespace tavo
