#pragma once

#include "system/ChildProcess.h"
#include "system/CommandRunning.h"

#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {

/// The handle of a child that SystemCommandRunner started. Dropping it neither stops the child nor waits for it.
class ProcessRunningCommand final : public RunningCommand {
public:
    explicit ProcessRunningCommand(SpawnedChild child);

    bool isRunning() const override { return process->isRunning(); }
    void stop() noexcept override { process->terminate(); }
    void onEnd(std::function<void()> work) override { process->onEnd(std::move(work)); }

    std::optional<pid_t> processID() const override { return process->pid(); }

    pid_t pid() const { return process->pid(); }

private:
    // Never read: what the child writes stays in the pipes. They are open for as long as the handle lives.
    FileDescriptor output;
    FileDescriptor error;
    std::shared_ptr<ReapedChild> process;
};

/// Runs work on a thread of its own that nobody joins. @throws std::system_error when no thread can be started.
void startDetachedThread(std::function<void()> work);

/// Runs real programs.
class SystemCommandRunner final : public CommandRunning {
public:
    using ThreadStarter = std::function<void(std::function<void()>)>;

    explicit SystemCommandRunner(bool supportsPrivilegedCommands = defaultSupportsPrivilegedCommands(),
                                 ThreadStarter startThread = startDetachedThread)
        : isPrivileged(supportsPrivilegedCommands), startThread(std::move(startThread)) {}

    /// True exactly when the effective user is root.
    static bool defaultSupportsPrivilegedCommands();

    bool supportsPrivilegedCommands() const override { return isPrivileged; }

    /// Blocks until the child has exited and both of its streams have ended; two jobs drain them meanwhile, so that a
    /// child that writes more than a pipe holds cannot block. @throws std::system_error when launching fails, or when a
    /// job cannot be started; the child is ended and reaped then.
    ShellCommandResult run(const ShellCommand& command) override;

    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::future<std::string> readInBackground(FileDescriptor descriptor) const;

    bool isPrivileged;
    ThreadStarter startThread;
};

/// Reads a descriptor to its end. An error counts as the end.
std::string readToEnd(const FileDescriptor& descriptor);

/// A child's output in the form that ShellCommandResult has it.
std::string decodedOutput(std::string_view bytes);

} // namespace tavo
