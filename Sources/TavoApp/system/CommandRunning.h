#pragma once

#include "system/ShellCommand.h"

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>

namespace tavo {

/// A long-lived child. May be asked and stopped from any thread.
struct RunningCommand {
    virtual ~RunningCommand() = default;

    virtual bool isRunning() const = 0;

    /// Asks the child to end (SIGTERM). Returns at once; does nothing when the child has ended already.
    virtual void stop() noexcept = 0;

    /// Has `work` called once when the child has ended for whatever reason, at once when it already has. It is called on any
    /// thread, and must not throw. Never called by a handle that has no child of its own to wait for.
    virtual void onEnd(std::function<void()> work) { static_cast<void>(work); }

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

} // namespace tavo
