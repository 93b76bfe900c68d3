#include "system/SystemCommandRunner.h"

#include "base/Text.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <thread>

namespace tavo {

namespace {

/// Ends and reaps a child whose readers could not be started.
class ChildGuard {
public:
    explicit ChildGuard(pid_t pid) : pid(pid) {}
    ChildGuard(const ChildGuard&) = delete;
    ChildGuard& operator=(const ChildGuard&) = delete;
    ~ChildGuard() {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitForExit(pid);
        }
    }
    std::int32_t wait() { return waitForExit(std::exchange(pid, -1)); }

private:
    pid_t pid;
};

} // namespace

std::string decodedOutput(std::string_view bytes) {
    return std::string(trimWhitespaceAndNewlines(repairUTF8(bytes)));
}

std::string readToEnd(const FileDescriptor& descriptor) {
    std::string content;
    std::array<char, 65536> chunk{};
    for (;;) {
        const auto count = read(descriptor.get(), chunk.data(), chunk.size());
        if (count > 0) {
            content.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return content;
        }
    }
}

ProcessRunningCommand::ProcessRunningCommand(SpawnedChild child)
    : output(std::move(child.output)), error(std::move(child.error)), process(ReapedChild::adopt(child.pid)) {}

void startDetachedThread(std::function<void()> work) {
    std::thread(std::move(work)).detach();
}

bool SystemCommandRunner::defaultSupportsPrivilegedCommands() {
    return geteuid() == 0;
}

ShellCommandResult SystemCommandRunner::run(const ShellCommand& command) {
    auto child = spawnChild(command, ChildInput::inherited);
    ChildGuard guard(child.pid);
    auto output = readInBackground(std::move(child.output));
    auto error = readInBackground(std::move(child.error));
    const auto exitCode = guard.wait();
    return {.exitCode = exitCode,
            .standardOutput = decodedOutput(output.get()),
            .standardError = decodedOutput(error.get())};
}

/// The reading thread owns the descriptor, and the future does not wait for it when it is dropped. A process that the
/// child left behind may keep the pipe open for hours after the child was ended, and nobody would learn of the failure.
std::future<std::string> SystemCommandRunner::readInBackground(FileDescriptor descriptor) const {
    // std::function wants what can be copied, and a task cannot.
    const auto task =
        std::make_shared<std::packaged_task<std::string()>>([descriptor = std::move(descriptor)]() mutable {
            const auto closedAtReturn = std::move(descriptor);
            return readToEnd(closedAtReturn);
        });
    startThread([task] { (*task)(); });
    return task->get_future();
}

std::shared_ptr<RunningCommand> SystemCommandRunner::start(const ShellCommand& command) {
    return std::make_shared<ProcessRunningCommand>(spawnChild(inOwnProcessGroup(command), ChildInput::inherited));
}

} // namespace tavo
