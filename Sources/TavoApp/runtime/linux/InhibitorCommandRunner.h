#pragma once

#include "runtime/AssertionStatus.h"
#include "system/CommandRunning.h"

#include <chrono>
#include <memory>

namespace tavo {

/// Starts tavo-inhibit so that a refused lock never looks like success: start() returns only when the child has
/// reported its lock.
///
/// The child reads a pipe whose other end only this process holds, so that it releases its lock however this process
/// ends. Its reports go to an AssertionStatus.
class InhibitorCommandRunner final : public CommandRunning {
public:
    static constexpr std::chrono::milliseconds defaultBound = std::chrono::seconds{2};

    /// @param inner  runs every command that is run to its end.
    /// @param bound  how long a child may take to report its lock.
    InhibitorCommandRunner(std::shared_ptr<CommandRunning> inner, std::shared_ptr<AssertionStatus> assertionStatus,
                           std::chrono::milliseconds bound = defaultBound);

    bool supportsPrivilegedCommands() const override { return inner->supportsPrivilegedCommands(); }
    ShellCommandResult run(const ShellCommand& command) override { return inner->run(command); }

    /// @throws std::system_error when the child cannot be launched; WakeControlError (systemUnavailable) with the
    ///         child's own words when it could not take the lock, or when it said nothing within the bound;
    ///         WakeControlError (commandFailed) when it ended in any other way.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::shared_ptr<CommandRunning> inner;
    std::shared_ptr<AssertionStatus> assertionStatus;
    std::chrono::milliseconds bound;
};

} // namespace tavo
