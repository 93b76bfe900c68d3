#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// An outside program and how to call it.
struct ShellCommand {
    /// Always an absolute path: nothing is looked up in PATH.
    std::filesystem::path executableURL;

    /// Passed to the child unchanged: no shell, no quoting, no expansion.
    std::vector<std::string> arguments;

    /// Says that the command works only for root. A runner does not act on it; callers that need privilege ask
    /// CommandRunning::supportsPrivilegedCommands() first.
    bool requiresPrivilege = false;

    /// Has the child lead a process group of its own, so that it survives when the caller's group is ended: launchd(8)
    /// does that to a job that it boots out. Such a child cannot read from the caller's terminal.
    bool startsOwnProcessGroup = false;

    /// Shown to a user who is asked to approve a command that requires privilege, where the system's question has a
    /// place for it; the system's own words when empty.
    std::string approvalPrompt = {};

    bool operator==(const ShellCommand&) const = default;
};

/// The result of a command that has ended.
struct ShellCommandResult {
    /// The exit status; for a child ended by a signal, the signal's number.
    std::int32_t exitCode = 0;

    /// Valid UTF-8 (malformed sequences replaced by U+FFFD), without white space and newlines at both ends.
    std::string standardOutput;

    /// In the same form as standardOutput.
    std::string standardError;

    bool operator==(const ShellCommandResult&) const = default;
};

/// A long-lived child. May be asked and stopped from any thread.
struct RunningCommand {
    virtual ~RunningCommand() = default;

    virtual bool isRunning() const = 0;

    /// Asks the child to end (SIGTERM). Returns at once; does nothing when the child has ended already.
    virtual void stop() noexcept = 0;

    /// Has `work` called once when the child has ended for any reason, at once when it already has. It is called on any
    /// thread, and must not throw. Never called by a handle that has no child of its own to wait for.
    virtual void onEnd(std::function<void()> /*work*/) {}

    /// The child's process id; absent where there is no child of this process.
    virtual std::optional<pid_t> processID() const { return std::nullopt; }
};

/// Runs outside programs. A non-zero exit status is a result, not an error: each caller decides what it means.
struct CommandRunning {
    virtual ~CommandRunning() = default;

    /// Whether the runner itself has root rights.
    virtual bool supportsPrivilegedCommands() const = 0;

    /// Runs a command to its end. @throws std::system_error when it cannot be launched.
    virtual ShellCommandResult run(const ShellCommand& command) = 0;

    /// Launches a long-lived command. @throws std::system_error when it cannot be launched.
    virtual std::shared_ptr<RunningCommand> start(const ShellCommand& command) = 0;
};

/// Any text as one word of the shell: wrapped in single quotes, each single quote in it written as
/// '\'' (POSIX.1-2017, Shell Command Language, 2.2.2).
std::string shellQuoted(std::string_view text);

/// A command as one line for the shell: the program's path and the arguments, each quoted, joined by single spaces.
std::string shellLine(const ShellCommand& command);

} // namespace tavo
