#include "system/ProcessStart.h"

#include <sys/sysctl.h>

#include <array>

namespace tavo {

namespace {

std::optional<kinfo_proc> kernelRecord(pid_t pid) {
    std::array<int, 4> name{CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc process{};
    size_t size = sizeof(process);
    // A process that is not there is an empty answer and no failure.
    if (sysctl(name.data(), name.size(), &process, &size, nullptr, 0) != 0 || size == 0) {
        return std::nullopt;
    }
    return process;
}

} // namespace

std::optional<std::uint64_t> processStart(pid_t pid) {
    const auto process = kernelRecord(pid);
    // One that nobody has reaped has ended all the same.
    if (!process || process->kp_proc.p_stat == SZOMB) {
        return std::nullopt;
    }
    const auto& start = process->kp_proc.p_starttime;
    constexpr std::uint64_t microsecondsASecond = 1000000;
    return static_cast<std::uint64_t>(start.tv_sec) * microsecondsASecond + static_cast<std::uint64_t>(start.tv_usec);
}

bool isProcessStopped(pid_t pid) {
    const auto process = kernelRecord(pid);
    return process && process->kp_proc.p_stat == SSTOP;
}

} // namespace tavo
