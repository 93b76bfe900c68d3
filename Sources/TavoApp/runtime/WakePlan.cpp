#include "runtime/WakePlan.h"

#include "base/WakeControlError.h"

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

std::vector<std::string> assertionArguments(CurrentPowerSource source) {
    if (source == CurrentPowerSource::ac) {
        return {"-i", "-s"};
    }
    return {"-i"};
}

} // namespace

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
