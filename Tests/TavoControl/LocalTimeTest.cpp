#include "TavoControl/LocalTime.h"

#include "TavoControl/TimeZone.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TimePoint at(const std::string& text) {
    return *parseISO8601(text);
}

TEST(LocalTime, ADayBeginsAtLocalMidnight) {
    const TimeZone zone(TimeZone::centralEurope);
    EXPECT_EQ(localMidnight(at("2026-01-31T22:59:59Z")), at("2026-01-30T23:00:00Z"));
    EXPECT_EQ(localMidnight(at("2026-01-31T23:00:00Z")), at("2026-01-31T23:00:00Z"));
    EXPECT_EQ(nextLocalMidnight(at("2026-01-31T23:00:00Z")), at("2026-02-01T23:00:00Z"));
}

TEST(LocalTime, ADayOnWhichTheClocksChangeHas23Or25Hours) {
    const TimeZone zone(TimeZone::centralEurope);
    const auto spring = localMidnight(at("2026-03-29T12:00:00Z"));
    EXPECT_EQ(nextLocalMidnight(spring) - spring, std::chrono::hours{23});
    const auto autumn = localMidnight(at("2026-10-25T12:00:00Z"));
    EXPECT_EQ(nextLocalMidnight(autumn) - autumn, std::chrono::hours{25});
}

TEST(LocalTime, ADayWithoutAMidnightBeginsWithItsFirstMoment) {
    // At midnight the clocks go to one, on the second sunday of October.
    const TimeZone zone("<-03>3<-02>,M10.2.0/0,M2.3.0/0");
    const auto begin = localMidnight(at("2026-10-11T15:00:00Z"));
    EXPECT_EQ(begin, at("2026-10-11T03:00:00Z"));
    EXPECT_EQ(localClock(begin), "01:00");
    EXPECT_EQ(nextLocalMidnight(begin) - begin, std::chrono::hours{23});
    EXPECT_EQ(nextLocalMidnight(localMidnight(at("2026-10-10T15:00:00Z"))), begin);
}

TEST(LocalTime, MomentsAreWrittenAsTheClockOnTheWallShowsThem) {
    const TimeZone zone(TimeZone::centralEurope);
    EXPECT_EQ(localClock(at("2026-07-01T23:05:09Z")), "01:05");
    EXPECT_EQ(localClockWithSeconds(at("2026-07-01T23:05:09Z")), "01:05:09");
    EXPECT_EQ(localDate(at("2026-07-01T23:05:09Z")), "2026-07-02");
    EXPECT_EQ(localDay(at("2026-07-01T23:05:09Z")), "thursday 2026-07-02");
}

TEST(LocalTime, LengthsHaveTwoUnitsAtMost) {
    using namespace std::chrono_literals;
    EXPECT_EQ(shortDuration(-1s), "0 s");
    EXPECT_EQ(shortDuration(59s), "59 s");
    EXPECT_EQ(shortDuration(60s), "1 min");
    EXPECT_EQ(shortDuration(3h + 5min + 59s), "3 h 05 min");
    EXPECT_EQ(shortDuration(49h), "2 d 01 h");
}

} // namespace
} // namespace tavo
