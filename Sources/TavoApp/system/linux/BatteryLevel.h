#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace tavo {

/// The charge of one battery, from its folder in sysfs.
struct BatteryLevel {
    /// How much is in it, and how much would be if it were full.
    struct Amount {
        std::int64_t now = 0;
        std::int64_t full = 0;
    };

    std::optional<Amount> energy;         ///< µWh: energy_now and energy_full
    std::optional<Amount> charge;         ///< µAh: charge_now and charge_full
    std::optional<std::int64_t> capacity; ///< percent

    /// Leaves out what is missing, no number, negative, beyond any battery, or full at nothing.
    static BatteryLevel read(const std::filesystem::path& supply);
};

/// How full all batteries are together, in percent, rounded half up and not clamped. Absent when none of them says.
std::optional<std::int64_t> combinedPercent(const std::vector<BatteryLevel>& levels);

} // namespace tavo
