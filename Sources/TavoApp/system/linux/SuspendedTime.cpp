#include "system/SuspendedTime.h"

#include <ctime>

namespace tavo {

std::chrono::seconds suspendedTime() {
    // clock_getres(2): the one goes on while the system is suspended, and the other does not.
    timespec awake{};
    timespec all{};
    clock_gettime(CLOCK_MONOTONIC, &awake);
    clock_gettime(CLOCK_BOOTTIME, &all);
    constexpr long nanosecondsASecond = 1000000000;
    const auto nanoseconds = (all.tv_sec - awake.tv_sec) * nanosecondsASecond + (all.tv_nsec - awake.tv_nsec);
    return std::chrono::seconds(nanoseconds / nanosecondsASecond);
}

std::chrono::nanoseconds timeSinceStart() {
    timespec all{};
    clock_gettime(CLOCK_BOOTTIME, &all);
    return std::chrono::seconds(all.tv_sec) + std::chrono::nanoseconds(all.tv_nsec);
}

} // namespace tavo
