#include "runtime/HistoryRecorder.h"

#include "base/ErrorText.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

/// Two clocks are read one after the other, and what is shorter than this interests nobody.
constexpr std::chrono::seconds minSuspend{5};

} // namespace

HistoryRecorder::HistoryRecorder(HistoryFile file, HistoryWriter writer, SuspendedTime suspendedTime,
                                 FailureNotice onFailure)
    : file(std::move(file)), writer(std::move(writer)), suspendedTime(std::move(suspendedTime)),
      onFailure(std::move(onFailure)), lastSuspended(this->suspendedTime()) {}

void HistoryRecorder::begin(TimePoint at, std::optional<TimePoint> lastSeen) {
    append({.event = HistoryEvent::start, .time = at, .lastSeen = lastSeen});
    lastLook = at;
}

void HistoryRecorder::record(const HistoryState& state, TimePoint at) {
    noteSuspend(at);
    auto shown = state;
    // Their order makes no difference, and neither do those that do not fit on the line.
    std::sort(shown.processes.begin(), shown.processes.end(),
              [](const auto& left, const auto& right) { return left.processID < right.processID; });
    shown.processes.resize(std::min(shown.processes.size(), HistoryEntry::maxProcesses));
    if (shown != lastState && append({.event = HistoryEvent::change, .time = at, .state = shown})) {
        lastState = std::move(shown);
    }
}

void HistoryRecorder::noteSuspend(TimePoint at) {
    const auto suspended = suspendedTime();
    const auto length = suspended - std::exchange(lastSuspended, suspended);
    const auto before = std::exchange(lastLook, at);
    if (length >= minSuspend && lastState && lastState->isAwake) {
        append(
            {.event = HistoryEvent::suspend, .time = at, .suspendedFrom = before, .suspendedSeconds = length.count()});
    }
}

void HistoryRecorder::end(TimePoint at, const std::string& why) {
    noteSuspend(at);
    append({.event = HistoryEvent::end, .time = at, .why = why});
}

bool HistoryRecorder::append(HistoryEntry entry) {
    entry.writer = writer;
    try {
        file.append(entry);
        return true;
    } catch (const std::exception& error) {
        if (!std::exchange(hasFailed, true) && onFailure) {
            onFailure("the history cannot be written: " + errorText(error));
        }
        return false;
    }
}

std::vector<HistoryProcess> historyProcesses(const std::vector<MatchedProcessSnapshot>& processes) {
    std::vector<HistoryProcess> result;
    result.reserve(processes.size());
    for (const auto& process : processes) {
        result.push_back({.processID = process.pid, .name = process.executableName});
    }
    return result;
}

} // namespace tavo
