#include "TavoControl/HistoryPeriods.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <utility>

namespace tavo {

namespace {

/// One program's part of the history, while it is read.
struct Run {
    HistoryWriter writer;
    TimePoint lastLine;
    std::optional<AwakePeriod> open;
    bool hasEnded = false;
};

class PeriodReader {
public:
    explicit PeriodReader(const HistoryContext& context) : context(context) {}

    void read(const HistoryEntry& entry) {
        auto& run = runOf(entry);
        if (entry.event == HistoryEvent::start && entry.writer.isOnlyOne) {
            endEarlier(entry);
        }
        run.lastLine = entry.time;
        switch (entry.event) {
        case HistoryEvent::start:
            break;
        case HistoryEvent::change:
            change(run, entry);
            break;
        case HistoryEvent::suspend:
            suspend(run, entry);
            break;
        case HistoryEvent::end:
            run.hasEnded = true;
            close(run, entry.time, HistoryEnding::quit, RuntimeDecisionReason::idle, entry.why);
            break;
        }
    }

    std::vector<AwakePeriod> finish() {
        for (auto& [key, run] : runs) {
            if (!run.open) {
                continue;
            }
            if (!run.hasEnded && context.isRunning(run.writer)) {
                close(run, context.now, HistoryEnding::ongoing);
            } else {
                close(run, run.writer.isOnlyOne ? lastSeenAlive(run, context.lastSeen, context.now) : run.lastLine,
                      HistoryEnding::killed);
            }
        }
        std::stable_sort(periods.begin(), periods.end(),
                         [](const auto& left, const auto& right) { return left.from < right.from; });
        return std::move(periods);
    }

private:
    Run& runOf(const HistoryEntry& entry) {
        return runs.try_emplace({entry.writer.processID, entry.writer.startTime}, Run{entry.writer, entry.time, {}})
            .first->second;
    }

    /// Only one of them runs at a time: those without an end were killed.
    void endEarlier(const HistoryEntry& start) {
        for (auto& [key, run] : runs) {
            if (run.open && run.writer.isOnlyOne && !(run.writer == start.writer)) {
                close(run, lastSeenAlive(run, start.lastSeen, start.time), HistoryEnding::killed);
            }
        }
    }

    static TimePoint lastSeenAlive(const Run& run, std::optional<TimePoint> lastSeen, TimePoint latest) {
        return std::clamp(lastSeen.value_or(run.lastLine), run.lastLine, std::max(run.lastLine, latest));
    }

    void change(Run& run, const HistoryEntry& entry) {
        const auto& state = entry.state;
        if (!state.isAwake) {
            const auto ending = state.isStopped                                 ? HistoryEnding::stopped
                                : state.reason == RuntimeDecisionReason::active ? HistoryEnding::lockLost
                                                                                : HistoryEnding::decision;
            close(run, entry.time, ending, state.reason);
            return;
        }
        if (!run.open) {
            run.open = AwakePeriod{.from = entry.time, .to = entry.time, .writer = entry.writer};
        }
        for (const auto& process : state.processes) {
            auto& names = run.open->names;
            if (std::find(names.begin(), names.end(), process.name) == names.end()) {
                names.push_back(process.name);
            }
        }
        run.open->held = state.held;
    }

    void suspend(Run& run, const HistoryEntry& entry) {
        if (!run.open || !entry.suspendedFrom) {
            return;
        }
        auto resumed = *run.open;
        close(run, *entry.suspendedFrom, HistoryEnding::suspended);
        const auto maxLength = std::chrono::duration_cast<std::chrono::seconds>(entry.time - *entry.suspendedFrom);
        const bool isPlausible = entry.suspendedSeconds >= 0 && entry.suspendedSeconds < maxLength.count();
        resumed.from = isPlausible ? *entry.suspendedFrom + std::chrono::seconds(entry.suspendedSeconds) : entry.time;
        run.open = std::move(resumed);
    }

    void close(Run& run, TimePoint at, HistoryEnding ending, RuntimeDecisionReason reason = RuntimeDecisionReason::idle,
               const std::string& why = {}) {
        if (!run.open) {
            return;
        }
        auto period = *std::exchange(run.open, std::nullopt);
        period.to = std::max(at, period.from); // the clock may have been set back
        period.ending = ending;
        period.reason = reason;
        period.why = why;
        periods.push_back(std::move(period));
    }

    const HistoryContext& context;
    std::map<std::pair<std::int32_t, std::uint64_t>, Run> runs;
    std::vector<AwakePeriod> periods;
};

std::string decisionText(const AwakePeriod& period) {
    switch (period.reason) {
    case RuntimeDecisionReason::disabled:
        return "switched off";
    case RuntimeDecisionReason::noMatchingProcess:
        return period.names.size() == 1 ? period.names.front() + " ended" : "the last process ended";
    case RuntimeDecisionReason::insufficientActivity:
        return period.names.size() == 1 ? period.names.front() + " was idle" : "the processes were idle";
    case RuntimeDecisionReason::powerSourceMismatch:
        return "the power source changed";
    case RuntimeDecisionReason::batteryCutoffReached:
        return "the battery was low";
    case RuntimeDecisionReason::maxDurationReached:
        return "the session limit was reached";
    case RuntimeDecisionReason::error:
        return "an evaluation failed";
    case RuntimeDecisionReason::idle:
    case RuntimeDecisionReason::active:
        break;
    }
    return "released";
}

} // namespace

std::vector<AwakePeriod> awakePeriods(const std::vector<HistoryEntry>& entries, const HistoryContext& context) {
    PeriodReader reader(context);
    for (const auto& entry : entries) {
        reader.read(entry);
    }
    return reader.finish();
}

std::string endingText(const AwakePeriod& period) {
    switch (period.ending) {
    case HistoryEnding::ongoing:
        return "still awake";
    case HistoryEnding::decision:
        return decisionText(period);
    case HistoryEnding::lockLost:
        return "the lock was lost";
    case HistoryEnding::stopped:
        return "tavo was stopped";
    case HistoryEnding::quit:
        return period.why.empty() ? period.writer.program + " ended" : period.why;
    case HistoryEnding::killed:
        return period.writer.program + " was killed, or the computer went down";
    case HistoryEnding::suspended:
        return "the computer was suspended";
    }
    return "";
}

std::string purposeText(const AwakePeriod& period) {
    constexpr std::size_t maxNames = 3;
    if (period.names.empty()) {
        // Kept awake for the command itself, which runs next to the one Tavo.
        return period.writer.isOnlyOne ? "always on" : period.writer.program;
    }
    const auto shown = std::min(period.names.size(), maxNames);
    const auto list = fmt::format(
        "{}", fmt::join(period.names.begin(), period.names.begin() + static_cast<std::ptrdiff_t>(shown), ", "));
    return period.names.size() > shown ? fmt::format("{} and {} more", list, period.names.size() - shown) : list;
}

} // namespace tavo
