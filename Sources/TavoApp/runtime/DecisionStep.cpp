#include "runtime/DecisionStep.h"

#include "base/ErrorText.h"
#include "base/WakeControlError.h"

#include <utility>

namespace tavo {

namespace {

/// Holds nothing.
struct RehearsedCommand final : RunningCommand {
    bool isRunning() const override { return true; }
    void stop() noexcept override {}
};

/// Starts nothing.
struct RehearsingRunner final : CommandRunning {
    bool supportsPrivilegedCommands() const override { return false; }
    ShellCommandResult run(const ShellCommand&) override { return {}; }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override { return std::make_shared<RehearsedCommand>(); }
};

/// Asks for nothing.
struct RehearsingSleepController final : PrivilegedSleepControlling {
    bool isAvailable() const override { return true; }
    void setSleepDisabled(PMSetScope, bool) override {}
};

} // namespace

std::optional<DecisionStep> decidingStep(const RuntimeSnapshot& snapshot) {
    switch (snapshot.lastDecisionReason) {
    case RuntimeDecisionReason::disabled:
        return DecisionStep::masterSwitch;
    case RuntimeDecisionReason::powerSourceMismatch:
        return DecisionStep::powerSource;
    case RuntimeDecisionReason::batteryCutoffReached:
        return DecisionStep::batteryCutoff;
    case RuntimeDecisionReason::active:
    case RuntimeDecisionReason::noMatchingProcess:
    case RuntimeDecisionReason::insufficientActivity:
    case RuntimeDecisionReason::maxDurationReached:
        return DecisionStep::trigger;
    case RuntimeDecisionReason::error:
        // The record of a failure is its text.
        return snapshot.lastError == WakeControlError::closedLidRequiresPrivilege().description()
                   ? DecisionStep::closedLid
                   : DecisionStep::assertion;
    case RuntimeDecisionReason::idle:
        break;
    }
    return std::nullopt;
}

RuntimeSnapshot rehearsedDecision(const AppConfig& config, TimePoint at,
                                  std::shared_ptr<PowerEnvironmentProviding> powerEnvironment,
                                  std::shared_ptr<ProcessSnapshotProviding> processes, bool coversClosedLid) {
    auto sleepController = coversClosedLid ? std::make_shared<RehearsingSleepController>() : nullptr;
    RuntimeCoordinator coordinator(
        std::move(powerEnvironment), std::make_shared<ProcessWatcher>(std::move(processes)),
        std::make_shared<WakeController>(std::make_shared<RehearsingRunner>(), std::move(sleepController)), nullptr);
    try {
        return coordinator.evaluate(config, at).snapshot;
    } catch (const std::exception& error) {
        RuntimeSnapshot failed;
        failed.isEnabled = config.isEnabled;
        failed.lastEvaluationDate = at;
        failed.lastDecisionReason = RuntimeDecisionReason::error;
        failed.lastError = errorText(error);
        return failed;
    }
}

} // namespace tavo
