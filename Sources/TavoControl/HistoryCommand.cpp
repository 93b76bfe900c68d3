#include "TavoControl/HistoryCommand.h"

#include "TavoControl/HistoryReport.h"
#include "base/JsonCoding.h"
#include "config/HistoryFile.h"
#include "system/ProcessStart.h"

namespace tavo {

namespace {

bool isStillRunning(const HistoryWriter& writer) {
    try {
        return processStart(writer.processID) == writer.startTime;
    } catch (const std::exception&) {
        return false; // cannot be looked at, and is none of this user's then
    }
}

std::optional<TimePoint> lastEvaluation(const TavoStoring& store) {
    try {
        return store.loadRuntimeSnapshot().lastEvaluationDate;
    } catch (const std::exception&) {
        return std::nullopt; // a damaged state file tells nothing
    }
}

} // namespace

ExitStatus printHistory(const HistoryOptions& options, const TavoStoring& store) {
    const auto now = std::chrono::system_clock::now();
    const auto content = HistoryFile(store.paths().historyURL()).read();
    HistoryFacts facts{.since = now - options.since, .now = now, .skippedLines = content.skippedLines};
    if (!content.entries.empty()) {
        facts.begun = content.entries.front().time;
    }
    facts.periods =
        awakePeriods(content.entries, {.now = now, .isRunning = isStillRunning, .lastSeen = lastEvaluation(store)});
    const HistoryReport report(std::move(facts));
    const Console console(stdout);
    if (options.json) {
        console.print(shownJson(report.json()));
    } else {
        for (const auto& line : report.lines(console)) {
            console.print(line);
        }
    }
    return ExitStatus::success;
}

} // namespace tavo
