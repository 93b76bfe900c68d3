#pragma once

#include "base/Json.h"
#include "base/RuntimeRecords.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

enum class HistoryEvent {
    start,   ///< a program has begun to decide
    change,  ///< why, for which processes, or what is held has changed
    suspend, ///< the computer was suspended in spite of what was held
    end,     ///< the program has released everything and ends
};

template <>
struct RawValues<HistoryEvent> {
    static constexpr RawValueTable<HistoryEvent, 4> table{{
        {HistoryEvent::start, "start"},
        {HistoryEvent::change, "change"},
        {HistoryEvent::suspend, "suspend"},
        {HistoryEvent::end, "end"},
    }};
};

/// Who writes a line. The process id and the start time together stand for one process and for no later one.
struct HistoryWriter {
    std::string program;
    std::int32_t processID = 0;

    /// See processStart().
    std::uint64_t startTime = 0;

    /// Whether it holds the lock of the one Tavo of a user: of these only one runs at a time.
    bool isOnlyOne = false;

    bool operator==(const HistoryWriter&) const = default;
};

/// A process that the computer was kept awake for: its name and never its command line, which may hold secrets.
struct HistoryProcess {
    std::int32_t processID = 0;
    std::string name;

    bool operator==(const HistoryProcess&) const = default;

    /// @throws DecodingError naming the key.
    static HistoryProcess fromJson(const Json& value, const std::string& path = {});
};

/// The state that a line records.
struct HistoryState {
    RuntimeDecisionReason reason = RuntimeDecisionReason::idle;
    bool isAwake = false;

    /// Whether the program itself is stopped, as by Ctrl-Z.
    bool isStopped = false;
    std::vector<HistoryProcess> processes;

    /// The locks held, as in "idle:sleep (logind)"; empty when there are none.
    std::string held;

    bool operator==(const HistoryState&) const = default;
};

/// One line of the history.
struct HistoryEntry {
    HistoryEvent event = HistoryEvent::change;
    TimePoint time;
    HistoryWriter writer = {};

    /// Of a change.
    HistoryState state = {};

    /// Of a start, where it is known: when the run before was last seen at work.
    std::optional<TimePoint> lastSeen = {};

    /// Of a suspend: it began after this moment, with a minute to spare at most, and lasted so long.
    std::optional<TimePoint> suspendedFrom = {};
    std::int64_t suspendedSeconds = 0;

    /// Of an end: why, as a clause; empty for a program that was asked to end.
    std::string why = {};

    bool operator==(const HistoryEntry&) const = default;

    /// As one line without its end. Long names and long lists are cut, so that no line is longer than maxLineLength.
    std::string line() const;

    /// @throws DecodingError for anything that is no line of a history.
    static HistoryEntry fromLine(std::string_view text);

    /// In bytes.
    static constexpr std::size_t maxLineLength = 8192;

    /// More processes than these are not listed.
    static constexpr std::size_t maxProcesses = 24;
};

} // namespace tavo
