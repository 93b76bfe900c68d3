#pragma once

#include "base/Json.h"
#include "base/PowerStatus.h"
#include "base/RawValues.h"
#include "config/TriggerRule.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tavo {

/// Which lid situations keeping awake covers.
enum class WatchMode { open, closed, both };

/// On which power source keeping awake is allowed.
enum class PowerSourcePolicy { any, acOnly, batteryOnly };

/// An upper bound on one continuous awake session.
enum class MaxAwakeDuration { none, oneHour, eightHours };

template <>
struct RawValues<WatchMode> {
    static constexpr RawValueTable<WatchMode, 3> table{{
        {WatchMode::open, "open"},
        {WatchMode::closed, "closed"},
        {WatchMode::both, "both"},
    }};
};

template <>
struct RawValues<PowerSourcePolicy> {
    static constexpr RawValueTable<PowerSourcePolicy, 3> table{{
        {PowerSourcePolicy::any, "any"},
        {PowerSourcePolicy::acOnly, "acOnly"},
        {PowerSourcePolicy::batteryOnly, "batteryOnly"},
    }};
};

template <>
struct RawValues<MaxAwakeDuration> {
    static constexpr RawValueTable<MaxAwakeDuration, 3> table{{
        {MaxAwakeDuration::none, "none"},
        {MaxAwakeDuration::oneHour, "oneHour"},
        {MaxAwakeDuration::eightHours, "eightHours"},
    }};
};

/// The bound in seconds; absent for `none`.
std::optional<double> duration(MaxAwakeDuration bound);

/// Everything that the user decides, as "config.json" keeps it.
struct AppConfig {
    static constexpr std::int64_t fixedPollIntervalSeconds = 60;
    static constexpr MaxAwakeDuration fixedMaxAwakeDuration = MaxAwakeDuration::none;
    static constexpr std::int64_t defaultBatteryCutoffPercent = 20;

    /// The master switch.
    bool isEnabled = false;
    WatchMode watchMode = WatchMode::open;
    PowerSourcePolicy powerSourcePolicy = PowerSourcePolicy::any;
    MaxAwakeDuration maxAwakeDuration = fixedMaxAwakeDuration;

    /// Stop at or below this charge in percent; absent means no cutoff.
    std::optional<std::int64_t> batteryCutoffPercent = defaultBatteryCutoffPercent;
    std::int64_t pollIntervalSeconds = fixedPollIntervalSeconds;
    TriggerRule trigger = defaultRule(TriggerPreset::always);
    bool launchAtLoginEnabled = false;

    /// Whether the user has allowed closed-lid operation, for which the privileged helper is installed.
    bool closedLidPermissionGranted = false;

    bool operator==(const AppConfig&) const = default;

    /// The configuration until something was configured.
    static AppConfig defaultConfig() { return {}; }

    /// The configuration as the engine obeys it. The poll interval and the session limit are fixed in this version, so
    /// what was asked for is overwritten without a word.
    /// @throws TavoValidationError for a process trigger without a query, then for a cutoff outside 1...100.
    AppConfig validated() const;

    /// Switched off, with the always trigger.
    AppConfig appLaunchBaseline() const;

    /// Switched on, with the always trigger.
    AppConfig enabledWithoutProcessTrigger() const;

    /// enabledWithoutProcessTrigger(), with a power-source policy that allows the current source.
    AppConfig enabledForCurrentPowerSource(const PowerStatus& status) const;

    /// A missing cutoff is the default one, a null cutoff is none; a missing or null `closedLidPermissionGranted` is
    /// true (files from before that key count as granted). Every other key must be there.
    /// @throws DecodingError naming the key.
    static AppConfig fromJson(const Json& value, const std::string& path = {});
};

/// All nine keys; an absent cutoff is an explicit null, since a missing key would read as the default cutoff.
void to_json(Json& json, const AppConfig& config);

} // namespace tavo
