#include "runtime/WakeController.h"

#include <utility>

namespace tavo {

WakeController::WakeController(std::shared_ptr<CommandRunning> runner,
                               std::shared_ptr<PrivilegedSleepControlling> privilegedSleepController,
                               WakePlanBuilder builder)
    : runner(std::move(runner)), privilegedSleepController(std::move(privilegedSleepController)),
      builder(std::move(builder)) {}

void WakeController::activate(const AppConfig& config, const PowerStatus& powerStatus) {
    const bool supportsClosedLidOverride = privilegedSleepController && privilegedSleepController->isAvailable();
    auto plan = builder.buildPlan(config, powerStatus, supportsClosedLidOverride);
    if (isInForce(plan)) {
        return;
    }
    deactivate();
    auto assertion = runner->start(plan.standardAssertionCommand);
    if (plan.closedLidScope) {
        beginOverride(*plan.closedLidScope, *assertion);
    }
    standardAssertionProcess = std::move(assertion);
    activePlan = std::move(plan);
}

void WakeController::beginOverride(PMSetScope scope, RunningCommand& assertion) {
    try {
        privilegedSleepController->setSleepDisabled(scope, true);
    } catch (...) {
        assertion.stop();
        throw;
    }
    activeClosedLidScope = scope;
}

void WakeController::deactivate() {
    if (standardAssertionProcess) {
        standardAssertionProcess->stop();
        standardAssertionProcess.reset();
    }
    activePlan.reset();
    if (activeClosedLidScope) {
        if (privilegedSleepController) {
            privilegedSleepController->setSleepDisabled(*activeClosedLidScope, false);
        }
        activeClosedLidScope.reset();
    }
}

void WakeController::reassertOverride() {
    if (activeClosedLidScope && privilegedSleepController && activePlan) {
        privilegedSleepController->setSleepDisabled(*activeClosedLidScope, true);
    }
}

WakeControllerStatus WakeController::status() const {
    const bool isAssertionRunning = standardAssertionProcess && standardAssertionProcess->isRunning();
    return {.isActive = isAssertionRunning || activeClosedLidScope.has_value(),
            .usesClosedLidOverride = activeClosedLidScope.has_value()};
}

bool WakeController::isInForce(const WakePlan& plan) const {
    return activePlan == plan && standardAssertionProcess && standardAssertionProcess->isRunning() &&
           activeClosedLidScope == plan.closedLidScope;
}

} // namespace tavo
