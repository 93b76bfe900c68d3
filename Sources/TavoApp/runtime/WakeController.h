#pragma once

#include "helper/PrivilegedSleepControlling.h"
#include "runtime/WakePlan.h"
#include "system/CommandRunning.h"

#include <memory>
#include <optional>

namespace tavo {

struct WakeControllerStatus {
    bool isActive = false;
    bool usesClosedLidOverride = false;

    bool operator==(const WakeControllerStatus&) const = default;
};

/// Brings a wake plan into force: the assertion's child, and the closed-lid override.
///
/// Used by one thread at a time. Destroying it does not deactivate: the owner does, before it destroys the controller.
class WakeController {
public:
    /// @param privilegedSleepController  null when this process cannot begin an override for the closed lid.
    WakeController(std::shared_ptr<CommandRunning> runner,
                   std::shared_ptr<PrivilegedSleepControlling> privilegedSleepController, WakePlanBuilder builder = {});

    /// Brings the plan for `config` and `powerStatus` into force; does nothing when it is in force already. Blocks while
    /// the assertion is taken and while the sleep controller works.
    /// @throws WakeControlError, std::system_error and the sleep controller's errors. When the plan cannot be made, the
    ///         earlier one stays in force; after any other failure nothing is held but an override that could not end.
    void activate(const AppConfig& config, const PowerStatus& powerStatus);

    /// Stops the assertion and ends the override. @throws the sleep controller's error; the next call tries again.
    void deactivate();

    /// Begins the current override once more: a helper that was replaced meanwhile has ended it.
    /// @throws the sleep controller's error.
    void reassertOverride();

    WakeControllerStatus status() const;

    /// Whether an override is in force that deactivate() could not end.
    bool isOverrideStuck() const { return activeClosedLidScope && !activePlan; }

private:
    bool isInForce(const WakePlan& plan) const;
    void beginOverride(PMSetScope scope, RunningCommand& assertion);

    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<PrivilegedSleepControlling> privilegedSleepController;
    WakePlanBuilder builder;
    std::shared_ptr<RunningCommand> standardAssertionProcess;
    std::optional<WakePlan> activePlan;

    /// The scope for which sleep is disabled: present for as long as the override is believed to be in force, that is also
    /// after a failed attempt to end it.
    std::optional<PMSetScope> activeClosedLidScope;
};

} // namespace tavo
