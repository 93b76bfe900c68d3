#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The fields of `/proc/PID/stat` that are needed here: proc(5), "/proc/[pid]/stat".
struct ProcfsStat {
    std::int32_t pid = 0;
    std::int32_t parentPID = 0;

    /// One letter, as in "R" for running.
    char state = 0;

    /// Those that have not exited; 1 for a process that has ended and was not reaped yet.
    std::int64_t threadCount = 0;

    /// In clock ticks: sysconf(_SC_CLK_TCK) of them are a second.
    std::uint64_t userTicks = 0;
    std::uint64_t systemTicks = 0;

    /// Raw bytes, at most 15 of them for an ordinary process: longer names are cut, in the middle of a character too.
    /// Any byte but NUL may occur. Points into the parsed text.
    std::string_view name;

    bool operator==(const ProcfsStat&) const = default;

    /// Whether all of its threads have ended, though its parent has not reaped it yet. A process whose first thread
    /// alone has exited shows the state of a zombie too, and lives as long as its other threads do.
    bool hasEnded() const { return state == 'X' || (isLeaderGone() && threadCount <= 1); }
    bool isLeaderGone() const { return state == 'Z'; }
};

/// Gives nothing for a text that is cut short or is no stat line.
std::optional<ProcfsStat> parseProcfsStat(std::string_view text);

/// When the process of such a line started, in clock ticks since the machine's start. With the process id it names a
/// process for as long as the machine runs. Absent for a text that is cut short or is no stat line.
std::optional<std::uint64_t> procfsStartTicks(std::string_view text);

/// The command line that `/proc/PID/cmdline` holds, its arguments joined by single spaces, trimmed, in valid UTF-8.
/// Empty for a process without arguments (kernel threads, zombies).
/// @param buffer  what the result points into; its content is replaced, and its memory is used again.
std::string_view procfsCommandLine(std::string_view cmdline, std::string& buffer);

/// The executable's name in valid UTF-8, trimmed.
///
/// A name of 15 bytes may have been cut and is completed from the first argument when the base name of that begins with
/// it. A process may overwrite its arguments with one text ("long-program-name --flag /x/y"): where there is one
/// argument only, the name therefore ends at its first space after the 15 known bytes. A name that was changed by the
/// process (a thread's name, a script's interpreter) matches no argument and stays.
/// @param buffer  as for procfsCommandLine().
std::string_view procfsExecutableName(std::string_view name, std::string_view cmdline, std::string& buffer);

} // namespace tavo
