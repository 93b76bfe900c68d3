#pragma once

#include "base/PowerStatus.h"
#include "config/AppConfig.h"
#include "helper/PrivilegedSleepControlling.h"
#include "system/ShellCommand.h"

#include <filesystem>
#include <optional>

namespace tavo {

/// What has to run for the machine to stay awake.
struct WakePlan {
    /// Holds off sleep for as long as it runs.
    ShellCommand standardAssertionCommand;

    /// Present when the machine has to stay awake with its lid closed.
    std::optional<PMSetScope> closedLidScope;

    bool usesClosedLidOverride() const { return closedLidScope.has_value(); }

    bool operator==(const WakePlan&) const = default;
};

/// The scope that a policy asks for, case for case.
PMSetScope pmsetScope(PowerSourcePolicy policy);

/// Decides what has to run.
struct WakePlanBuilder {
    /// The program that holds the assertion: caffeinate(8), or one that takes the same flags.
    std::filesystem::path assertionExecutable = "/usr/bin/caffeinate";

    /// "-i" holds off idle sleep; "-s" holds off all of system sleep and is given on AC power only, where it has an effect.
    /// No time-out is given: the assertion lasts until the child is stopped.
    /// @throws WakeControlError (closedLidRequiresPrivilege) when the lid is to be covered and cannot be.
    WakePlan buildPlan(const AppConfig& config, const PowerStatus& powerStatus, bool supportsClosedLidOverride) const;
};

} // namespace tavo
