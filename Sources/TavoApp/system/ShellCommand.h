#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tavo {

/// An outside program and how to call it.
struct ShellCommand {
    /// Always an absolute path: nothing is looked up in PATH.
    std::filesystem::path executableURL;

    /// Passed to the child as they stand: no shell, no quoting, no expansion.
    std::vector<std::string> arguments;

    /// Says that the command works only for root. A runner does not act on it; whoever needs privilege asks
    /// CommandRunning::supportsPrivilegedCommands() first.
    bool requiresPrivilege = false;

    /// Has the child lead a process group of its own, so that it outlives whoever ends the caller's group: launchd(8) does
    /// that to a job that it boots out. Such a child cannot read from the caller's terminal.
    bool startsOwnProcessGroup = false;

    /// Shown to a user who is asked to approve a command that requires privilege, where the system's question has a place for
    /// it; the system's own words when empty.
    std::string approvalPrompt = {};

    bool operator==(const ShellCommand&) const = default;
};

/// What a command that has ended left behind.
struct ShellCommandResult {
    /// The exit status; for a child ended by a signal, the signal's number.
    std::int32_t exitCode = 0;

    /// Valid UTF-8 (malformed sequences replaced by U+FFFD), without white space and newlines at both ends.
    std::string standardOutput;

    /// In the same form as standardOutput.
    std::string standardError;

    bool operator==(const ShellCommandResult&) const = default;
};

} // namespace tavo
