#include "system/SuspendedTime.h"

#include <cstdint>
#include <ctime>

namespace tavo {

std::chrono::seconds suspendedTime() {
    // clock_gettime(3): the one does not go on while the system is asleep, and the other does.
    constexpr std::uint64_t nanosecondsASecond = 1000000000;
    const auto awake = clock_gettime_nsec_np(CLOCK_UPTIME_RAW);
    const auto all = clock_gettime_nsec_np(CLOCK_MONOTONIC_RAW);
    return std::chrono::seconds(all > awake ? (all - awake) / nanosecondsASecond : 0);
}

std::chrono::nanoseconds timeSinceStart() {
    return std::chrono::nanoseconds(clock_gettime_nsec_np(CLOCK_MONOTONIC_RAW));
}

} // namespace tavo
