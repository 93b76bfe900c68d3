#include "system/AsioTimer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace tavo {
namespace {

/// The timer descriptors of this process that are armed: proc(5), /proc/[pid]/fdinfo/, timerfd files.
int armedTimers() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            count += line.starts_with("it_value:") && line != "it_value: (0, 0)" ? 1 : 0;
        }
    }
    return count;
}

TEST(TimerDescriptor, NothingIsLeftToWakeUpForOnceATimerWasCalledOff) {
    asio::io_context loop;
    {
        const AsioTimer timer(loop, std::chrono::hours{1}, [] {});
        EXPECT_EQ(armedTimers(), 1);
    }
    EXPECT_EQ(armedTimers(), 0);
    loop.run(); // returns, since nothing keeps the loop running either
}

TEST(TimerDescriptor, NothingIsLeftToWakeUpForOnceATimerHasFired) {
    asio::io_context loop;
    bool hasFired = false;
    const AsioTimer timer(loop, std::chrono::milliseconds{1}, [&] { hasFired = true; });
    loop.run();
    EXPECT_TRUE(hasFired);
    EXPECT_EQ(armedTimers(), 0);
}

TEST(TimerDescriptor, ALaterTimerTakesThePlaceOfAnEarlierOne) {
    asio::io_context loop;
    bool hasFired = false;
    auto earlier = std::make_unique<AsioTimer>(loop, std::chrono::milliseconds{1}, [] { FAIL() << "fired"; });
    const AsioTimer later(loop, std::chrono::milliseconds{5}, [&] { hasFired = true; });
    earlier.reset();
    loop.run();
    EXPECT_TRUE(hasFired);
}

TEST(TimerDescriptor, ATimerMayOutliveItsLoop) {
    std::unique_ptr<AsioTimer> timer;
    {
        asio::io_context loop;
        timer = std::make_unique<AsioTimer>(loop, std::chrono::hours{1}, [] {});
    }
    timer.reset();
}

} // namespace
} // namespace tavo
