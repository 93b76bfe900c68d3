#include "app/CommonSecond.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using namespace std::chrono_literals;
using Instant = std::chrono::steady_clock::time_point;

TEST(CommonSecond, AMinuteEndsAtAFullSecondAndNeverEarly) {
    EXPECT_EQ(timerExpiry(Instant(100s), 60s), Instant(160s));
    EXPECT_EQ(timerExpiry(Instant(100s + 1ns), 60s), Instant(161s));
    EXPECT_EQ(timerExpiry(Instant(100s + 999ms), 60s), Instant(161s));
}

TEST(CommonSecond, TimersThatStartWithinASecondEndTogether) {
    EXPECT_EQ(timerExpiry(Instant(7s + 100ms), 60s), timerExpiry(Instant(7s + 900ms), 60s));
}

TEST(CommonSecond, AShortWaitIsExact) {
    EXPECT_EQ(timerExpiry(Instant(100s + 300ms), 0s), Instant(100s + 300ms));
    EXPECT_EQ(timerExpiry(Instant(100s + 300ms), 1500ms), Instant(101s + 800ms));
    EXPECT_EQ(timerExpiry(Instant(100s + 300ms), 19s), Instant(119s + 300ms));
}

} // namespace
} // namespace tavo
