#pragma once

#include "base/Json.h"
#include "base/PowerStatus.h"
#include "system/FolderTree.h"
#include "system/linux/SysfsPowerEnvironment.h"

#include <fmt/format.h>

#include <map>
#include <optional>
#include <ostream>
#include <string>

namespace tavo {

inline std::ostream& operator<<(std::ostream& stream, const PowerStatus& status) {
    return stream << Json(status).dump();
}

namespace sysfs {

using Files = std::map<std::string, std::string>;
inline constexpr auto ac = CurrentPowerSource::ac;
inline constexpr auto battery = CurrentPowerSource::battery;
inline constexpr auto unknown = CurrentPowerSource::unknown;

/// The files of one supply; `more` adds to them and replaces them.
inline Files supply(const std::string& name, const Files& attributes, const Files& more = {}) {
    Files files;
    for (const auto* group : {&attributes, &more}) {
        for (const auto& [attribute, content] : *group) {
            files[fmt::format("{}/{}", name, attribute)] = content;
        }
    }
    return files;
}

inline Files mains(const std::string& online) {
    return supply("AC", {{"type", "Mains\n"}, {"online", online + "\n"}});
}

inline Files energyBattery(const std::string& name, const std::string& status, const std::string& now,
                           const std::string& full, const Files& more = {}) {
    return supply(name,
                  {{"type", "Battery\n"},
                   {"present", "1\n"},
                   {"status", status + "\n"},
                   {"energy_now", now + "\n"},
                   {"energy_full", full + "\n"},
                   {"energy_full_design", "57000000\n"},
                   {"capacity", "1\n"}},
                  more);
}

inline Files chargeBattery(const std::string& name, const std::string& status, const std::string& now,
                           const std::string& full) {
    return supply(name, {{"type", "Battery\n"},
                         {"status", status + "\n"},
                         {"charge_now", now + "\n"},
                         {"charge_full", full + "\n"},
                         {"capacity", "1\n"}});
}

inline Files usb(const std::string& online, const Files& more = {}) {
    return supply(
        "ucsi-source-psy-USBC000:001",
        {{"type", "USB\n"}, {"usb_type", "C [PD] PD_PPS\n"}, {"online", online + "\n"}, {"scope", "System\n"}}, more);
}

inline Files mouse(const std::string& name = "hidpp_battery_0") {
    return supply(name, {{"type", "Battery\n"},
                         {"scope", "Device\n"},
                         {"present", "1\n"},
                         {"online", "1\n"},
                         {"status", "Discharging\n"},
                         {"capacity", "12\n"}});
}

inline Files together(std::initializer_list<Files> parts) {
    Files all;
    for (const auto& part : parts) {
        all.insert(part.begin(), part.end());
    }
    return all;
}

inline PowerStatus statusOf(const Files& files) {
    const FolderTree tree;
    for (const auto& [file, content] : files) {
        tree.write(file, content);
    }
    return SysfsPowerEnvironment(tree.root()).currentStatus();
}

inline PowerStatus status(CurrentPowerSource source, std::optional<std::int64_t> percent,
                          std::optional<bool> isCharging) {
    return {.source = source, .batteryPercent = percent, .isCharging = isCharging};
}

/// A discharging laptop whose energy is 80 % and whose "capacity" is 77, with one attribute replaced.
inline Files batteryWith(const std::string& attribute, const std::string& content) {
    auto files = energyBattery("BAT0", "Discharging", "40", "50", {{"charge_now", "x"}, {"capacity", "77\n"}});
    files["BAT0/" + attribute] = content;
    return together({files, mains("0")});
}

/// At 80 %.
inline const Files discharging = energyBattery("BAT0", "Discharging", "40", "50");

} // namespace sysfs
} // namespace tavo
