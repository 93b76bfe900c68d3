#pragma once

#include "base/RuntimeRecords.h"
#include "config/AppConfig.h"
#include "config/TavoStore.h"
#include "runtime/ProcessWatcher.h"
#include "runtime/WakeController.h"
#include "system/PowerEnvironmentProviding.h"

#include <memory>
#include <optional>

namespace tavo {

/// Decides at every evaluation whether the machine has to be kept awake, and acts on it.
///
/// Used by one caller at a time; every call runs the whole decision. Destroying it releases nothing: the owner
/// calls stop() first.
class RuntimeCoordinator {
public:
    /// @param store  where snapshots are kept; nothing is written when it is null.
    RuntimeCoordinator(std::shared_ptr<PowerEnvironmentProviding> powerEnvironment,
                       std::shared_ptr<ProcessWatcher> processWatcher, std::shared_ptr<WakeController> wakeController,
                       std::shared_ptr<const TavoStoring> store);

    /// One evaluation of the validated form of `config`: master switch, power-source policy, battery cutoff, trigger.
    /// @throws TavoValidationError before anything else happens; errors of the process table, the wake controller and
    ///         the store. The snapshot is written last: after a failed write the wake state has changed and the file
    ///         has not.
    RuntimeEvaluation evaluate(const AppConfig& config, TimePoint at);

    /// evaluate() without validation: obeys the session limit and the activity requirement, which validation switches
    /// off in this version.
    RuntimeEvaluation evaluateAsGiven(const AppConfig& config, TimePoint at);

    /// Lets go of everything. @throws errors of the wake controller and the store.
    RuntimeEvaluation stop(TimePoint at);

    /// Lets go of what is held and writes nothing down: for a coordinator that another has replaced.
    /// @throws the wake controller's error; the next call tries again.
    void release() { wakeController->deactivate(); }

    WakeControllerStatus wakeStatus() const { return wakeController->status(); }

    /// See WakeController::isOverrideStuck().
    bool isOverrideStuck() const { return wakeController->isOverrideStuck(); }

    /// See WakeController::reassertOverride().
    void reassertOverride() { wakeController->reassertOverride(); }

private:
    using Matches = std::vector<MatchedProcessSnapshot>;

    RuntimeEvaluation evaluateProcesses(const AppConfig& config, const PowerStatus& status, TimePoint at);
    RuntimeEvaluation decideOn(ProcessWatchResult result, const AppConfig& config, const PowerStatus& status,
                               TimePoint at);
    RuntimeEvaluation activate(const AppConfig& config, const PowerStatus& status, TimePoint at, Matches matches);
    RuntimeEvaluation stop(RuntimeDecisionReason reason, TimePoint at, bool isEnabled, Matches matches = {});
    RuntimeEvaluation finish(RuntimeSnapshot snapshot, double interval);
    double intervalWhileActive(const AppConfig& config, TimePoint at) const;
    bool isSessionLimitReached(const AppConfig& config, TimePoint at) const;
    void persist(const RuntimeSnapshot& snapshot) const;

    std::shared_ptr<PowerEnvironmentProviding> powerEnvironment;
    std::shared_ptr<ProcessWatcher> processWatcher;
    std::shared_ptr<WakeController> wakeController;
    std::shared_ptr<const TavoStoring> store;

    /// When the current continuous awake session began.
    std::optional<TimePoint> activeSessionStartedAt;

    /// Set when the session limit was reached: matching processes do not bring the machine back until none matches.
    bool isSuppressedUntilNoMatch = false;
};

} // namespace tavo
