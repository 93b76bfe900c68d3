#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <optional>

namespace tavo {

/// One process among all that ever have its number: the system gives a number to another process some day.
struct ProcessIdentity {
    pid_t pid = 0;

    /// See processStart(): to be compared, nothing else.
    std::uint64_t startTime = 0;

    auto operator<=>(const ProcessIdentity&) const = default;
};

/// When the process with this number started, in the system's own unit: clock ticks since the machine's start on Linux,
/// microseconds since 1970 on macOS. Nothing when there is none, or when it has ended and only waits to be reaped.
std::optional<std::uint64_t> processStart(pid_t pid);

/// Whether a process is stopped by a signal, or by a debugger, and so does nothing until it is continued.
bool isProcessStopped(pid_t pid);

} // namespace tavo
