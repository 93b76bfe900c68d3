#pragma once

#include "base/DescribedError.h"
#include "base/FileDescriptor.h"
#include "system/CommandRunning.h"

#include <chrono>
#include <memory>

namespace tavo {

/// Work that waited for something was interrupted.
class Interrupted final : public DescribedError {
public:
    Interrupted() : DescribedError("this was called off before it was done.") {}
};

/// Interrupts work that may wait for long, as for an administrator's password, because the program is quitting. For
/// good: later waits are interrupted at once. Every member may be called from any thread.
class Interruption {
public:
    /// @throws std::system_error when no pipe can be made.
    Interruption();

    void interrupt() noexcept;
    bool isInterrupted() const noexcept;

    /// Readable once interrupted, for poll(2). Nobody reads from it.
    int descriptor() const { return reading.get(); }

    /// Waits that long. @throws Interrupted
    void sleep(std::chrono::microseconds time) const;

private:
    FileDescriptor reading;
    FileDescriptor writing;
};

/// Runs real programs as SystemCommandRunner does, until it is interrupted.
///
/// For a program that asks the user for approval. Nobody answers once the windows are gone, and the process behind them
/// must not wait for that.
class InterruptibleCommandRunner final : public CommandRunning {
public:
    explicit InterruptibleCommandRunner(std::shared_ptr<Interruption> interruption);

    bool supportsPrivilegedCommands() const override;

    /// Blocks until the child has exited and its streams have ended. When it is interrupted, the child is asked to end
    /// and given a moment; one that cannot be ended, such as a script that runs as root by then, goes on alone.
    /// @throws Interrupted, std::system_error when launching fails.
    ShellCommandResult run(const ShellCommand& command) override;

    /// Not interruptible: the caller has the handle.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::shared_ptr<Interruption> interruption;
};

} // namespace tavo
