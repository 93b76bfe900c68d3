#pragma once

#include "system/PowerEnvironmentProviding.h"
#include "system/macos/PowerSourceFunctions.h"

#include <cstdint>

/// The power sources of a Mac, in a fixed layout and without ownership. All zero: nothing is known.
struct TavoPowerSourceSnapshot {
    /// 0 unknown, 1 AC power, 2 battery power.
    std::int32_t sourceKind = 0;

    /// Whether batteryPercent is valid.
    bool hasBatteryPercent = false;

    /// Rounded, not clamped: a battery charged above its stated capacity has more than 100.
    std::int32_t batteryPercent = 0;

    /// Whether isCharging is valid.
    bool hasChargingState = false;
    bool isCharging = false;

    bool operator==(const TavoPowerSourceSnapshot&) const = default;
};

/// Asks IOKit at every call. Never fails: what cannot be read stays zero. May be called from any thread.
TavoPowerSourceSnapshot TavoCopyPowerSourceSnapshot();

/// The same over the given functions.
TavoPowerSourceSnapshot TavoCopyPowerSourceSnapshot(const tavo::PowerSourceFunctions& functions);

/// Reads a number from a dictionary. Gives false, and leaves `value` as it was, when the key has no value, another kind
/// of value, or a number that does not fit.
bool TavoGetDictionaryInt(const tavo::PowerSourceFunctions& functions, tavo::CoreFoundationRef dictionary,
                          tavo::CoreFoundationRef key, std::int32_t& value);

namespace tavo {

/// The power of a Mac, from IOKit's power sources. Where there is no IOKit, everything is unknown.
struct SystemPowerEnvironment final : PowerEnvironmentProviding {
    PowerStatus currentStatus() const override;

    /// A snapshot as a status.
    static PowerStatus status(const TavoPowerSourceSnapshot& snapshot);
};

} // namespace tavo
