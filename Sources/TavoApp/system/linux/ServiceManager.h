#pragma once

#include "system/linux/BusConnection.h"

#include <optional>
#include <string>

namespace tavo {

/// A connection to the system's service manager, org.freedesktop.systemd1(5).
class ServiceManager {
public:
    /// @throws BusError when there is no system bus.
    ServiceManager() : bus(BusConnection::openSystem()) {}

    /// The type of a unit's job: "start", "stop", "restart" and so on, by the names of systemctl(1). Nothing when it
    /// has none. @throws BusError when the manager does not answer.
    std::optional<std::string> jobTypeOf(const std::string& unit) const;

private:
    BusConnection bus;
};

} // namespace tavo
