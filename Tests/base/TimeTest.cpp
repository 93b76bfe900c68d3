#include "base/Time.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TimePoint secondsSinceEpoch(long long seconds) {
    return TimePoint{std::chrono::seconds{seconds}};
}

TEST(Time, AMomentIsWrittenInUTCWithWholeSecondsAndAZ) {
    EXPECT_EQ(formatISO8601(secondsSinceEpoch(0)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatISO8601(secondsSinceEpoch(1767225599) + std::chrono::milliseconds{900}), "2025-12-31T23:59:59Z");
}

TEST(Time, WhatIsWrittenReadsBack) {
    for (const long long seconds : {0LL, 951782400LL, 1767225599LL, 4102444800LL}) {
        EXPECT_EQ(parseISO8601(formatISO8601(secondsSinceEpoch(seconds))), secondsSinceEpoch(seconds));
    }
}

TEST(Time, AnOffsetIsTakenOff) {
    EXPECT_EQ(parseISO8601("1970-01-01T02:00:00+02:00"), secondsSinceEpoch(0));
    EXPECT_EQ(parseISO8601("1969-12-31T18:30:00-05:30"), secondsSinceEpoch(0));
}

TEST(Time, AnythingElseIsNoDate) {
    for (const auto* text :
         {"", "Z", "2026-01-31", "2026-01-31T09:05:00", "2026-01-31 09:05:00Z", "2026-02-30T09:05:00Z",
          "2026-13-01T09:05:00Z", "2026-01-31T24:05:00Z", "2026-01-31T09:60:00Z", "2026-01-31T09:05:61Z",
          "2026-01-31T09:05:00.5Z", "2026-01-31T09:05:00ZZ", "20x6-01-31T09:05:00Z", "2026-01-31T09:05:00+2:00",
          "2026-01-31T09:05:00+24:00", "-026-01-31T09:05:00Z"}) {
        EXPECT_EQ(parseISO8601(text), std::nullopt) << text;
    }
}

TEST(Time, AMomentThatTheClockCannotReachIsNoDate) {
    for (const auto* const text : {"4052-01-31T09:05:00Z", "9999-12-31T23:59:59Z", "0000-01-01T00:00:00Z"}) {
        const auto moment = parseISO8601(text);
        // A clock that counts in wider steps may reach it.
        EXPECT_TRUE(!moment || formatISO8601(*moment) == text) << text;
    }
    EXPECT_TRUE(parseISO8601("2261-12-31T23:59:59Z"));
    EXPECT_TRUE(parseISO8601("1678-01-01T00:00:00Z"));
}

} // namespace
} // namespace tavo
