#pragma once

#include "base/PowerStatus.h"
#include "config/AppConfig.h"
#include "helper/PrivilegedSleepControlling.h"
#include "system/CommandRunning.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The processes and settings that keep the machine awake.
struct WakePlan {
    /// Holds off sleep for as long as it runs.
    ShellCommand standardAssertionCommand;

    /// Present when the machine has to stay awake with its lid closed.
    std::optional<PMSetScope> closedLidScope;

    bool usesClosedLidOverride() const { return closedLidScope.has_value(); }

    bool operator==(const WakePlan&) const = default;
};

/// The kinds of sleep that an assertion's command holds off with these arguments, in logind's words: "idle",
/// "idle:sleep".
std::string heldOffBy(const std::vector<std::string>& arguments);

/// The kinds of sleep that a plan holds off on this power source, in the same words.
std::string plannedToHoldOff(CurrentPowerSource source);

/// The scope that a policy asks for, case for case.
PMSetScope pmsetScope(PowerSourcePolicy policy);

/// Makes plans.
struct WakePlanBuilder {
    /// The program that holds the assertion: caffeinate(8), or one that takes the same flags.
    std::filesystem::path assertionExecutable = "/usr/bin/caffeinate";

    /// "-i" holds off idle sleep; "-s" holds off all of system sleep and is given on AC power only, where it has an
    /// effect. No time-out is given: the assertion lasts until the child is stopped.
    /// @throws WakeControlError (closedLidRequiresPrivilege) when the lid is to be covered and cannot be.
    WakePlan buildPlan(const AppConfig& config, const PowerStatus& powerStatus, bool supportsClosedLidOverride) const;
};

} // namespace tavo
