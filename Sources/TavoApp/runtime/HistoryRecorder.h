#pragma once

#include "config/HistoryFile.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace tavo {

/// Writes down when this computer is kept awake, for what, and why that ends: a line for every change and none for an
/// evaluation that changes nothing.
///
/// Nothing depends on it: a line that cannot be written is lost, and is said once. Used by one thread.
class HistoryRecorder {
public:
    /// See suspendedTime().
    using SuspendedTime = std::function<std::chrono::seconds()>;

    /// Called once, with a sentence for the user, when the history cannot be written.
    using FailureNotice = std::function<void(const std::string& text)>;

    HistoryRecorder(HistoryFile file, HistoryWriter writer, SuspendedTime suspendedTime, FailureNotice onFailure);

    /// The first line of this program.
    /// @param lastSeen  when an earlier program was last seen at work; the only trace of one that was killed.
    void begin(TimePoint at, std::optional<TimePoint> lastSeen = std::nullopt);

    /// To be called after every evaluation and every change. Writes a line when the state is not the last one, and one
    /// when the computer has been suspended in spite of what was held.
    void record(const HistoryState& state, TimePoint at);

    /// The last line of this program. @param why  as a clause; empty when it was asked to end.
    void end(TimePoint at, const std::string& why = {});

private:
    void noteSuspend(TimePoint at);
    bool append(HistoryEntry entry);

    HistoryFile file;
    HistoryWriter writer;
    SuspendedTime suspendedTime;
    FailureNotice onFailure;
    std::optional<HistoryState> lastState;
    TimePoint lastLook;
    std::chrono::seconds lastSuspended;
    bool hasFailed = false;
};

/// The processes by name, for a line of the history.
std::vector<HistoryProcess> historyProcesses(const std::vector<MatchedProcessSnapshot>& processes);

} // namespace tavo
