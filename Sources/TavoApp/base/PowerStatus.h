#pragma once

#include "base/Json.h"
#include "base/RawValues.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tavo {

/// The source of the machine's power.
enum class CurrentPowerSource { ac, battery, unknown };

template <>
struct RawValues<CurrentPowerSource> {
    static constexpr RawValueTable<CurrentPowerSource, 3> table{{
        {CurrentPowerSource::ac, "ac"},
        {CurrentPowerSource::battery, "battery"},
        {CurrentPowerSource::unknown, "unknown"},
    }};
};

/// One reading of the machine's power.
struct PowerStatus {
    CurrentPowerSource source = CurrentPowerSource::unknown;

    /// Charge in percent; absent when no battery capacity could be read. May exceed 100: it is not clamped.
    std::optional<std::int64_t> batteryPercent;

    /// Absent when no power source says whether it charges.
    std::optional<bool> isCharging;

    bool operator==(const PowerStatus&) const = default;

    /// @throws DecodingError naming the key.
    static PowerStatus fromJson(const Json& value, const std::string& path = {});
};

/// An object with "source", and "batteryPercent" and "isCharging" where they are known.
void to_json(Json& json, const PowerStatus& status);

} // namespace tavo
