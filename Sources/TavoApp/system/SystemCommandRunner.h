#pragma once

#include "system/ChildProcess.h"
#include "system/CommandRunning.h"

#include <string>
#include <string_view>

namespace tavo {

/// The handle of a child that SystemCommandRunner started. Dropping it neither stops the child nor waits for it.
class ProcessRunningCommand final : public RunningCommand {
public:
    explicit ProcessRunningCommand(SpawnedChild child);

    bool isRunning() const override { return process->isRunning(); }
    void stop() noexcept override { process->terminate(); }

    std::optional<pid_t> processID() const override { return process->pid(); }

    pid_t pid() const { return process->pid(); }

private:
    // Never read: what the child writes stays in the pipes. They are open for as long as the handle lives.
    FileDescriptor output;
    FileDescriptor error;
    std::shared_ptr<ReapedChild> process;
};

/// Runs real programs.
class SystemCommandRunner final : public CommandRunning {
public:
    explicit SystemCommandRunner(bool supportsPrivilegedCommands = defaultSupportsPrivilegedCommands())
        : isPrivileged(supportsPrivilegedCommands) {}

    /// True exactly when the effective user is root.
    static bool defaultSupportsPrivilegedCommands();

    bool supportsPrivilegedCommands() const override { return isPrivileged; }

    /// Blocks until the child has exited and both of its streams have ended; two jobs drain them meanwhile, so that a
    /// child that writes more than a pipe holds cannot block. @throws std::system_error when launching fails.
    ShellCommandResult run(const ShellCommand& command) override;

    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    bool isPrivileged;
};

/// Reads a descriptor to its end. An error counts as the end.
std::string readToEnd(const FileDescriptor& descriptor);

/// What a child has written, in the form that ShellCommandResult has it.
std::string decodedOutput(std::string_view bytes);

} // namespace tavo
