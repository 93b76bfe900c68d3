#pragma once

#include "system/PowerEnvironmentProviding.h"

#include <filesystem>

namespace tavo {

/// The power of a Linux machine, from the kernel's power supply class
/// (Documentation/ABI/testing/sysfs-class-power of the kernel, and sysfs-class-typec for the ports).
///
/// Supplies of the scope "Device" (mice, headsets) say nothing about the machine, and neither does a battery that is
/// not present.
///
/// Source: AC when a mains, USB or wireless supply is online, or when the machine has no battery and no discharging
/// uninterruptible supply; battery when none is online and a battery discharges; unknown otherwise. A USB-C port that
/// gives power to something else is no supply of the machine, even where the kernel calls it online.
///
/// Percent: over all batteries together, by energy, else by charge, else by the mean of their percentages (batteries
/// that do not share a unit cannot be weighed against each other). A battery without usable values is left out.
///
/// Charging: when any battery charges; absent when no battery says whether it does.
class SysfsPowerEnvironment final : public PowerEnvironmentProviding {
public:
    /// @param root  the folder with one folder a supply.
    explicit SysfsPowerEnvironment(std::filesystem::path root = "/sys/class/power_supply");

    PowerStatus currentStatus() const override;

private:
    std::filesystem::path root;
};

} // namespace tavo
