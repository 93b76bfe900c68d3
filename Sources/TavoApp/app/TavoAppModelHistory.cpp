#include "app/TavoAppModel.h"
#include "system/ProcessStart.h"
#include "system/SuspendedTime.h"

#include <unistd.h>

#include <utility>

namespace tavo {

std::shared_ptr<HistoryRecorder> makeHistory(const TavoPaths& paths, const std::string& program,
                                             HistoryRecorder::FailureNotice onFailure, bool isOnlyOne) {
    const HistoryWriter writer{.program = program,
                               .processID = getpid(),
                               .startTime = processStart(getpid()).value_or(0),
                               .isOnlyOne = isOnlyOne};
    return std::make_shared<HistoryRecorder>(HistoryFile(paths.historyURL()), writer, suspendedTime,
                                             std::move(onFailure));
}

/// Before anything of this run goes into the state file, which tells how long an earlier one was at work.
void TavoAppModel::beginHistory() const {
    if (!platform.history) {
        return;
    }
    std::optional<TimePoint> lastSeen;
    try {
        lastSeen = store->loadRuntimeSnapshot().lastEvaluationDate;
    } catch (const std::exception&) {
        // Of a damaged state file nothing is known.
    }
    platform.history->begin(mainLoop->now(), lastSeen);
}

void TavoAppModel::recordHistory() const {
    if (!platform.history || hasQuit || snapshot.lastDecisionReason == RuntimeDecisionReason::idle) {
        return;
    }
    auto held = snapshot.isWakeAssertionActive ? platform.assertionStatus->summary() : std::string();
    if (coordinator->wakeStatus().usesClosedLidOverride) {
        held += held.empty() ? "closed lid" : ", closed lid";
    }
    platform.history->record(
        {.reason = snapshot.lastDecisionReason,
         .isAwake = snapshot.isWakeAssertionActive,
         .isStopped = config().isEnabled && snapshot.lastDecisionReason == RuntimeDecisionReason::disabled,
         .processes = historyProcesses(snapshot.matchedProcesses),
         .held = std::move(held)},
        mainLoop->now());
}

} // namespace tavo
