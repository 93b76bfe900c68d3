#pragma once

#include "TavoControl/Console.h"
#include "app/StatusCopy.h"
#include "base/Json.h"
#include "base/PowerStatus.h"
#include "base/RuntimeRecords.h"
#include "runtime/WakePlan.h"
#include "runtime/WorkActivity.h"
#include "system/HeldAssertionsProviding.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// Printed wherever a user may expect something to be kept awake while the master switch is off.
constexpr std::string_view switchedOffNotice =
    "keeping awake is switched off (isEnabled); tavoctl enable switches it on";

/// Everything that "tavoctl status" knows.
struct StatusFacts {
    TimePoint now;
    AppConfig config;
    RuntimeSnapshot snapshot;
    PowerStatus power;

    /// The Tavo that holds the lock file.
    std::optional<std::int32_t> runningProcessID;

    /// Whether it is stopped, as by Ctrl-Z or SIGSTOP.
    bool isStopped = false;

    /// The system's list for that Tavo or, when none runs, for any Tavo of this user; absent when it cannot be asked.
    std::optional<std::vector<HeldAssertion>> held;

    /// Whether the list's words are those of the plan, see HeldAssertionsProviding::usesPlanWords().
    bool isHeldInPlanWords = true;

    /// Why it cannot be asked.
    std::string heldError;

    /// Planned locks that Tavo says it could not take; empty when there are none. The system's list does not show
    /// requests to the desktop.
    std::string assertionNotice;

    /// Whether the matched programs work, of a Tavo that stays awake only while they do.
    std::optional<WorkActivity> activity = {};
    std::string machineNoun;
};

/// Compares the locks really held with the planned ones, in words for the user.
class StatusReport {
public:
    explicit StatusReport(StatusFacts facts) : facts(std::move(facts)) {}

    /// Whether the machine is being kept awake now by a running Tavo, as far as the system's own list tells.
    bool isKeepingAwake() const;

    /// Its state, in a title and a detail.
    RuntimeStatusCopy currentCopy() const;

    Json json() const;
    std::vector<std::string> lines(const Console& console) const;

private:
    bool isPlanned() const { return facts.runningProcessID && facts.snapshot.isWakeAssertionActive; }

    /// The kinds of sleep that ought to be held off now, in the wake plan's words; empty for none.
    std::string plannedWhat() const;

    /// The part of plannedWhat() that is not held.
    std::vector<std::string> missing() const;

    /// The difference between the plan and the locks held, as a sentence; empty when there is none.
    std::string discrepancy() const;

    /// Anything else that the user should know; empty when all is well.
    std::string notice() const;
    std::string heldText() const;

    /// A matched process, and whether it works.
    std::string watchedText(const MatchedProcessSnapshot& process) const;
    std::optional<std::int64_t> ageInSeconds() const;

    StatusFacts facts;
};

/// A command line as it is shown to people: a process may have 2 MiB of arguments, which nobody reads in a terminal.
std::string shownCommandLine(const std::string& commandLine);

} // namespace tavo
