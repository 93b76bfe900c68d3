#pragma once

#include "system/CommandRunning.h"
#include "system/Interruption.h"

#include <memory>

namespace tavo {

/// Runs real programs as SystemCommandRunner does, until it is interrupted.
///
/// For a program that asks the user for approval. Nobody answers once the windows are gone, and the process behind them
/// must not wait for that.
class InterruptibleCommandRunner final : public CommandRunning {
public:
    explicit InterruptibleCommandRunner(std::shared_ptr<Interruption> interruption);

    bool supportsPrivilegedCommands() const override;

    /// Blocks until the child has exited and its streams have ended. When it is interrupted, the child is asked to end and
    /// given a moment; one that cannot be ended, such as a script that runs as root by then, goes on alone.
    /// @throws Interrupted, std::system_error when launching fails.
    ShellCommandResult run(const ShellCommand& command) override;

    /// Not interruptible: the caller has the handle.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::shared_ptr<Interruption> interruption;
};

} // namespace tavo
