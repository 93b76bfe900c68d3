#pragma once

#include <sys/types.h>

#include <array>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The environment, signals and streams that this process inherited, before it changed any for itself. A command that
/// the user runs through it gets everything as it was.
struct InheritedConditions {
    /// As "NAME=value".
    std::vector<std::string> environment;
    sigset_t signalMask{};
    std::vector<int> ignoredSignals;

    /// Standard input, output and error.
    std::array<bool, 3> isStreamClosed{};

    /// Must be the first call in main().
    static InheritedConditions capture();

    bool isIgnored(int signal) const;
};

/// A command that runs as if the user's shell had started it: in this process's group, at its terminal, with its
/// standard streams and every other descriptor that was passed to it, and under the conditions that it inherited.
class CommandChild {
public:
    enum class Change { stopped, continued, exited };

    struct Event {
        Change change = Change::exited;

        /// The signal that stopped it, or the exit status as a shell has it: 128 and the signal's number for one that a
        /// signal ended.
        int status = 0;
    };

    /// @param words  the command, looked up in PATH unless it holds a slash, and its arguments; not empty. A script
    ///               without an interpreter line is run by /bin/sh, as execvp(3) does.
    /// @throws std::system_error when it cannot be started, with ENOENT when there is no such command.
    CommandChild(const std::vector<std::string>& words, const InheritedConditions& conditions);

    pid_t pid() const { return child; }

    /// The next change that the system knows of (SIGCHLD says that there is one), or nothing. Nothing follows an exit.
    std::optional<Event> nextEvent();

    /// Does nothing once the command has exited: its number may belong to another process then.
    void signal(int number) const noexcept;

private:
    pid_t child = -1;
    bool hasExited = false;
};

/// The exit status for a command that could not be started, as a shell has it: 127 when there is none, 126 for any
/// other reason.
int statusOfUnstartable(int error);

} // namespace tavo
