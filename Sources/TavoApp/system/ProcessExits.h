#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tavo {

/// A process to watch. With its start, see processStart(), it is that process and no later one with its number.
struct WatchedProcess {
    pid_t pid = 0;
    std::optional<std::uint64_t> startTime;

    bool operator==(const WatchedProcess&) const = default;
};

/// Ends a watch when it is destroyed, and waits for an observer that is being called. Not to be destroyed by the
/// observer.
struct ProcessExitWatch {
    virtual ~ProcessExitWatch() = default;
};

struct ProcessExitNotifying {
    /// Each costs a descriptor on some systems.
    static constexpr std::size_t maxProcesses = 64;

    virtual ~ProcessExitNotifying() = default;

    /// Whether there are processes, and not too many for one watch.
    static bool isWatchable(const std::vector<WatchedProcess>& processes) {
        return !processes.empty() && processes.size() <= maxProcesses;
    }

    /// Calls `observer` once, from any thread, when all of these processes have ended, also when they already have. One
    /// that was not reaped yet has ended, and so has one whose number another process has now. Gives null for no
    /// process, for more than maxProcesses, and where so many descriptors cannot be spared.
    /// @throws std::system_error when the system cannot watch them.
    virtual std::unique_ptr<ProcessExitWatch> watch(const std::vector<WatchedProcess>& processes,
                                                    std::function<void()> observer) = 0;
};

/// The kernel's own notification, which costs nothing until a process ends.
class ProcessExits final : public ProcessExitNotifying {
public:
    std::unique_ptr<ProcessExitWatch> watch(const std::vector<WatchedProcess>& processes,
                                            std::function<void()> observer) override;
};

} // namespace tavo
