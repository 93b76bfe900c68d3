#include "app/StatusCopy.h"

#include "base/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace tavo {

namespace {

constexpr int fullPercent = 100;

std::optional<std::int64_t> clampedPercent(const PowerStatus& status) {
    return status.batteryPercent ? std::optional(std::clamp<std::int64_t>(*status.batteryPercent, 0, fullPercent))
                                 : std::nullopt;
}

std::string firstMatchName(const RuntimeSnapshot& snapshot) {
    return lowercased(snapshot.matchedProcesses.front().executableName);
}

std::string activeDetail(TriggerMode trigger, const std::string& triggerName, const RuntimeSnapshot& snapshot) {
    if (!snapshot.matchedProcesses.empty()) {
        return firstMatchName(snapshot) + " is running";
    }
    return trigger == TriggerMode::always ? "always on" : triggerName + " is running";
}

RuntimeStatusCopy waitingCopy(TriggerMode trigger, const std::string& triggerName) {
    if (trigger == TriggerMode::always) {
        return {"ready", "always on"};
    }
    return {"waiting for " + triggerName, "starts when " + triggerName + " runs"};
}

std::string powerDetail(const PowerStatus& status) {
    if (status.batteryPercent) {
        return fmt::format("battery {}%", *status.batteryPercent);
    }
    switch (status.source) {
    case CurrentPowerSource::ac:
        return "on ac";
    case CurrentPowerSource::battery:
        return "on battery";
    case CurrentPowerSource::unknown:
        break;
    }
    return "power unavailable";
}

RuntimeStatusCopy powerMismatchCopy(PowerSourcePolicy policy, const PowerStatus& status) {
    switch (policy) {
    case PowerSourcePolicy::acOnly:
        return {"waiting for ac", "plug in to start"};
    case PowerSourcePolicy::batteryOnly:
        return {"waiting for battery", "unplug to start"};
    case PowerSourcePolicy::any:
        break;
    }
    return {"waiting for power", powerDetail(status)};
}

RuntimeStatusCopy inactiveCopy(const AppConfig& config, const RuntimeSnapshot& snapshot, const PowerStatus& powerStatus,
                               const RuntimeStatusCopy& active) {
    RuntimeStatusCopy paused{"paused", "tavo is off"};
    auto waiting = waitingCopy(config.trigger.mode, shortDisplayName(config.trigger));
    const bool hasMatch = !snapshot.matchedProcesses.empty();
    switch (snapshot.lastDecisionReason) {
    case RuntimeDecisionReason::disabled:
        return paused;
    case RuntimeDecisionReason::idle:
        return config.isEnabled ? waiting : paused;
    case RuntimeDecisionReason::active:
        return active;
    case RuntimeDecisionReason::noMatchingProcess:
        return waiting;
    case RuntimeDecisionReason::insufficientActivity:
        return {"waiting for activity", hasMatch ? firstMatchName(snapshot) + " is idle" : "activity required"};
    case RuntimeDecisionReason::powerSourceMismatch:
        return powerMismatchCopy(config.powerSourcePolicy, powerStatus);
    case RuntimeDecisionReason::batteryCutoffReached:
        return {"battery protected", powerDetail(powerStatus)};
    case RuntimeDecisionReason::maxDurationReached:
        return {"limit reached",
                hasMatch ? "starts again after " + firstMatchName(snapshot) + " quits" : "waiting to restart"};
    case RuntimeDecisionReason::error:
        break;
    }
    return {"needs attention", snapshot.lastError.value_or("open settings")};
}

} // namespace

std::string shortDisplayName(const TriggerRule& rule) {
    if (rule.mode == TriggerMode::always) {
        return std::string(displayName(TriggerPreset::always));
    }
    if (rule.preset) {
        return std::string(displayName(*rule.preset));
    }
    const auto query = trimWhitespaceAndNewlines(rule.query);
    return query.empty() ? "custom" : lowercased(query);
}

std::string summaryText(const PowerStatus& status) {
    const std::string word = status.source == CurrentPowerSource::ac        ? "ac"
                             : status.source == CurrentPowerSource::battery ? "battery"
                                                                            : "power";
    return status.batteryPercent ? fmt::format("{} {}%", word, *status.batteryPercent) : word;
}

RuntimeStatusCopy RuntimeStatusCopy::make(const AppConfig& config, const RuntimeSnapshot& snapshot,
                                          const PowerStatus& powerStatus, std::string_view machineNoun) {
    const RuntimeStatusCopy active{fmt::format("keeping {} awake", machineNoun),
                                   activeDetail(config.trigger.mode, shortDisplayName(config.trigger), snapshot)};
    return snapshot.isWakeAssertionActive ? active : inactiveCopy(config, snapshot, powerStatus, active);
}

std::string helperStatusTitle(PrivilegedHelperInstallState state) {
    switch (state) {
    case PrivilegedHelperInstallState::notInstalled:
        return "not granted";
    case PrivilegedHelperInstallState::installedUnreachable:
        return "needs refresh";
    case PrivilegedHelperInstallState::ready:
        break;
    }
    return "";
}

std::string helperStatusDetail(PrivilegedHelperInstallState state) {
    switch (state) {
    case PrivilegedHelperInstallState::notInstalled:
        return "grant permission";
    case PrivilegedHelperInstallState::installedUnreachable:
        return "permission denied";
    case PrivilegedHelperInstallState::ready:
        break;
    }
    return "permission granted";
}

std::optional<double> BatteryStatusBadge::level() const {
    const auto percent = clampedPercent(powerStatus);
    return percent ? std::optional(static_cast<double>(*percent) / fullPercent) : std::nullopt;
}

std::string BatteryStatusBadge::displayText() const {
    if (const auto percent = clampedPercent(powerStatus)) {
        return fmt::format("{}%", *percent);
    }
    return powerStatus.source == CurrentPowerSource::ac ? "ac" : "--";
}

} // namespace tavo
