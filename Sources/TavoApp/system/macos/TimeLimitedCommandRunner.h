#pragma once

#include "base/DescribedError.h"
#include "system/CommandRunning.h"

#include <chrono>

namespace tavo {

/// A command that was still running when its time was up.
class CommandTimeoutError final : public DescribedError {
public:
    CommandTimeoutError(const ShellCommand& command, std::chrono::milliseconds limit);
};

/// Runs real programs that usually take a moment, and never waits for one much longer than its limit.
///
/// A program that hangs inside the kernel does not end when it is killed. Neither it nor its output is waited for then;
/// it is reaped when it does end.
class TimeLimitedCommandRunner final : public CommandRunning {
public:
    explicit TimeLimitedCommandRunner(std::chrono::milliseconds limit) : limit(limit) {}

    bool supportsPrivilegedCommands() const override;

    /// As SystemCommandRunner::run(). @throws CommandTimeoutError when the child has not exited, or its streams have
    /// not ended, within the limit; the child is killed.
    ShellCommandResult run(const ShellCommand& command) override;

    /// Starts a child as SystemCommandRunner::start() does: no limit applies to it.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::chrono::milliseconds limit;
};

} // namespace tavo
