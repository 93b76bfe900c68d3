#include "TavoPrivilegedHelper/macos/DispatchProcessWatching.h"

#include "TavoPrivilegedHelper/macos/DispatchSource.h"

#include <sys/sysctl.h>

#include <array>
#include <utility>

namespace tavo {

namespace {

class DispatchWatch final : public ProcessWatch {
public:
    DispatchWatch(pid_t pid, std::function<void()> onExit)
        : source(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(pid), DISPATCH_PROC_EXIT, std::move(onExit)) {}

private:
    DispatchSource source;
};

} // namespace

std::optional<ProcessIdentity> DispatchProcessWatching::identify(pid_t pid) const {
    std::array<int, 4> name{CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc process{};
    size_t size = sizeof(process);
    // A process that is not there is an empty answer and no failure; one that nobody has reaped has ended all the same.
    if (sysctl(name.data(), name.size(), &process, &size, nullptr, 0) != 0 || size == 0 ||
        process.kp_proc.p_stat == SZOMB) {
        return std::nullopt;
    }
    const auto& start = process.kp_proc.p_starttime;
    constexpr std::uint64_t microsecondsASecond = 1000000;
    return ProcessIdentity{pid, static_cast<std::uint64_t>(start.tv_sec) * microsecondsASecond +
                                    static_cast<std::uint64_t>(start.tv_usec)};
}

std::unique_ptr<ProcessWatch> DispatchProcessWatching::watchExit(const ProcessIdentity& process,
                                                                 std::function<void()> onExit) {
    auto watch = std::make_unique<DispatchWatch>(process.pid, std::move(onExit));
    // Asked once the watch is there: an end before it would never be told.
    return identify(process.pid) == process ? std::move(watch) : nullptr;
}

} // namespace tavo
