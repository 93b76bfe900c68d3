#include "runtime/WakePlan.h"

#include "base/WakeControlError.h"

#include <array>

namespace tavo {

namespace {

std::optional<PMSetScope> closedLidScope(const AppConfig& config, bool supportsClosedLidOverride) {
    if (config.watchMode == WatchMode::open) {
        return std::nullopt;
    }
    if (!supportsClosedLidOverride) {
        throw WakeControlError::closedLidRequiresPrivilege();
    }
    return pmsetScope(config.powerSourcePolicy);
}

struct AssertionFlag {
    std::string_view flag;
    std::string_view kind;
};

/// caffeinate(8), with logind's words for the kinds of sleep.
constexpr std::array<AssertionFlag, 2> assertionFlags{{{"-i", "idle"}, {"-s", "sleep"}}};

std::vector<std::string> assertionArguments(CurrentPowerSource source) {
    if (source == CurrentPowerSource::ac) {
        return {"-i", "-s"};
    }
    return {"-i"};
}

} // namespace

std::string heldOffBy(const std::vector<std::string>& arguments) {
    std::string kinds;
    for (const auto& argument : arguments) {
        for (const auto& [flag, kind] : assertionFlags) {
            if (argument == flag) {
                kinds.append(kinds.empty() ? "" : ":").append(kind);
            }
        }
    }
    return kinds;
}

std::string plannedToHoldOff(CurrentPowerSource source) {
    return heldOffBy(assertionArguments(source));
}

PMSetScope pmsetScope(PowerSourcePolicy policy) {
    switch (policy) {
    case PowerSourcePolicy::any:
        return PMSetScope::all;
    case PowerSourcePolicy::acOnly:
        return PMSetScope::ac;
    case PowerSourcePolicy::batteryOnly:
        return PMSetScope::battery;
    }
    return PMSetScope::all;
}

WakePlan WakePlanBuilder::buildPlan(const AppConfig& config, const PowerStatus& powerStatus,
                                    bool supportsClosedLidOverride) const {
    const auto scope = closedLidScope(config, supportsClosedLidOverride);
    return {.standardAssertionCommand = {.executableURL = assertionExecutable,
                                         .arguments = assertionArguments(powerStatus.source)},
            .closedLidScope = scope};
}

} // namespace tavo
