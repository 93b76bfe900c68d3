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

} // namespace

WakePlan WakePlanBuilder::buildPlan(const AppConfig& config, const PowerStatus& powerStatus,
                                    bool supportsClosedLidOverride) const {
    const auto scope = closedLidScope(config, supportsClosedLidOverride);
    WakePlan plan{.standardAssertionCommand = {.executableURL = assertionExecutable, .arguments = {"-i"}},
                  .closedLidScope = scope};
    if (powerStatus.source == CurrentPowerSource::ac) {
        plan.standardAssertionCommand.arguments.emplace_back("-s");
    }
    return plan;
}

} // namespace tavo
