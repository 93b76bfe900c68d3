#include "system/SuspendedTime.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(SuspendedTime, DoesNotGrowWhileTheComputerIsAwake) {
    const auto before = suspendedTime();
    EXPECT_GE(before.count(), 0);
    EXPECT_LE(suspendedTime() - before, std::chrono::seconds{1}) << "two clocks are read one after the other";
}

TEST(TimeSinceStart, GoesOnWithTheSteadyClockAndHoldsTheTimeAsleep) {
    const auto before = timeSinceStart();
    EXPECT_GE(before, suspendedTime());
    EXPECT_GE(timeSinceStart(), before);
    EXPECT_LT(timeSinceStart() - before, std::chrono::minutes{1});
}

} // namespace
} // namespace tavo
