#pragma once

#include "base/FileDescriptor.h"
#include "system/CommandRunning.h"

#include <spawn.h>
#include <sys/types.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tavo {

/// A child's standard input. Output and error are always pipes.
enum class ChildInput { inherited, pipe };

/// A child that was just launched, with the parent's ends of its pipes (close-on-exec).
struct SpawnedChild {
    pid_t pid = -1;
    FileDescriptor input; ///< holds nothing when the input was inherited
    FileDescriptor output;
    FileDescriptor error;
};

/// Launches a child with an empty signal mask, the environment and working directory of the caller, and no descriptor
/// beyond the three standard ones, posix_spawn(3). The caller has to reap it: see ReapedChild and waitForExit().
/// @throws std::system_error naming the program, with the system's own code.
SpawnedChild spawnChild(const ShellCommand& command, ChildInput input);

/// The command, to be started in a process group of its own, as every long-lived child is: Ctrl-C and Ctrl-Z at a
/// terminal reach this process alone, which decides what becomes of the child.
ShellCommand inOwnProcessGroup(ShellCommand command);

/// Waits for a child and reaps it. Gives its exit status, or the number of the signal that ended it.
/// @throws std::system_error when it is no child of this process, or was reaped already.
std::int32_t waitForExit(pid_t pid);

/// Makes a pipe whose ends close on exec; each system has its own means. Gives false and sets errno on failure.
bool makeClosingPipe(std::array<int, 2>& ends);

/// Has the spawned child start without the parent's descriptors from 3 up; each system has its own means.
void closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& attributes);

/// A child that a thread of its own waits for and reaps, so that it never stays a zombie, even while this object is
/// held. Every member may be called from any thread.
class ReapedChild {
public:
    /// Takes over a child. @throws std::system_error when no thread can be started; the child is ended and reaped then.
    static std::shared_ptr<ReapedChild> adopt(pid_t pid);

    bool isRunning() const;

    /// Sends SIGTERM while the child runs; the process id cannot have passed to another process by then, since it is
    /// reaped under the same lock.
    void terminate() noexcept { send(SIGTERM); }

    /// Sends SIGKILL, as terminate() sends its signal.
    void kill() noexcept { send(SIGKILL); }

    /// Waits until the child has ended, at most `bound`. Gives what waitForExit() gives, or nothing when it still runs.
    std::optional<std::int32_t> waitForExit(std::chrono::milliseconds bound) const;

    /// Has `work` called once the child has been reaped: on the thread that reaps it, or at once when that has
    /// happened. It must not throw.
    void onEnd(std::function<void()> work);

    pid_t pid() const { return processID; }

private:
    explicit ReapedChild(pid_t pid) : processID(pid) {}
    void reapAtExit();
    void send(int signal) noexcept;

    const pid_t processID;
    mutable std::mutex mutex;
    mutable std::condition_variable ended;
    std::optional<std::int32_t> exitCode;
    std::vector<std::function<void()>> callbacks;
};

} // namespace tavo
