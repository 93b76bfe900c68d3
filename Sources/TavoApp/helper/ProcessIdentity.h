#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>

namespace tavo {

/// One process for as long as the machine runs: its number alone is given to another one day.
struct ProcessIdentity {
    pid_t pid = 0;

    /// In the system's own unit (clock ticks since the machine's start on Linux, microseconds since 1970 on macOS): to be
    /// compared, nothing else.
    std::uint64_t startTime = 0;

    auto operator<=>(const ProcessIdentity&) const = default;
};

} // namespace tavo
