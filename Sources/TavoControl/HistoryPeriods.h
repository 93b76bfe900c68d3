#pragma once

#include "config/HistoryEntry.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// How a period ended.
enum class HistoryEnding {
    ongoing,   ///< it has not
    decision,  ///< an evaluation decided so
    lockLost,  ///< the process that held the lock exited by itself
    stopped,   ///< the program was stopped, as by Ctrl-Z
    quit,      ///< the program ended properly
    killed,    ///< the program left no end: it was killed, or the computer went down
    suspended, ///< the computer was suspended in spite of the lock
};

template <>
struct RawValues<HistoryEnding> {
    static constexpr RawValueTable<HistoryEnding, 7> table{{
        {HistoryEnding::ongoing, "ongoing"},
        {HistoryEnding::decision, "decision"},
        {HistoryEnding::lockLost, "lockLost"},
        {HistoryEnding::stopped, "stopped"},
        {HistoryEnding::quit, "quit"},
        {HistoryEnding::killed, "killed"},
        {HistoryEnding::suspended, "suspended"},
    }};
};

/// A period during which one program kept the computer awake.
struct AwakePeriod {
    TimePoint from;
    TimePoint to;
    HistoryWriter writer;

    /// The names of the processes that it was for, each once; empty for a trigger that is always on.
    std::vector<std::string> names;

    /// The locks held last.
    std::string held;
    HistoryEnding ending = HistoryEnding::ongoing;

    /// The reason of a decision.
    RuntimeDecisionReason reason = RuntimeDecisionReason::idle;

    /// The reason that a program gave for its own end, as a clause.
    std::string why;

    bool operator==(const AwakePeriod&) const = default;
};

/// Facts that the history file does not contain.
struct HistoryContext {
    TimePoint now;

    /// Whether the process that wrote a line still runs.
    std::function<bool(const HistoryWriter&)> isRunning;

    /// When the one Tavo of the user was last seen at work, as state.json has it.
    std::optional<TimePoint> lastSeen = {};
};

/// The periods of being kept awake, in the order of their beginnings.
/// @param entries  the oldest first.
std::vector<AwakePeriod> awakePeriods(const std::vector<HistoryEntry>& entries, const HistoryContext& context);

/// Why a period ended, in words: "the last process ended".
std::string endingText(const AwakePeriod& period);

/// The purpose, in words: "claude, node and 3 more", "always on".
std::string purposeText(const AwakePeriod& period);

} // namespace tavo
