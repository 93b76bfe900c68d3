#include "system/Interruption.h"

#include <gtest/gtest.h>

#include <thread>

namespace tavo {
namespace {

TEST(Interruption, ASleepLastsAsLongAsItShould) {
    const Interruption interruption;
    const auto before = std::chrono::steady_clock::now();
    interruption.sleep(std::chrono::milliseconds{20});
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds{20});
    EXPECT_FALSE(interruption.isInterrupted());
}

TEST(Interruption, EndsASleepThatHasBegun) {
    Interruption interruption;
    std::thread other([&] { interruption.interrupt(); });
    EXPECT_THROW(interruption.sleep(std::chrono::hours{1}), Interrupted);
    other.join();
}

TEST(Interruption, IsForGoodAndMayBeCalledForAnyNumberOfTimes) {
    Interruption interruption;
    for (int time = 0; time < 100000; ++time) {
        interruption.interrupt();
    }
    EXPECT_TRUE(interruption.isInterrupted());
    EXPECT_THROW(interruption.sleep(std::chrono::microseconds{0}), Interrupted);
    EXPECT_THROW(interruption.sleep(std::chrono::hours{1}), Interrupted);
}

} // namespace
} // namespace tavo
