#include "TavoControl/LocalTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace tavo {

namespace {

/// The first moment of a day of the calendar, whose number in the month may be one too many.
TimePoint beginningOf(std::tm day) {
    constexpr int noon = 12;
    day.tm_min = day.tm_sec = 0;
    day.tm_isdst = -1;
    day.tm_hour = noon;
    std::mktime(&day); // puts the date in order
    const int wanted = day.tm_mday;
    day.tm_hour = 0;
    day.tm_isdst = -1;
    auto begin = std::chrono::system_clock::from_time_t(std::mktime(&day));
    // Where a clock change swallows midnight, mktime(3) may give a moment of the day before.
    constexpr std::chrono::minutes step{15};
    constexpr int maxSteps = 8;
    for (int steps = 0; steps < maxSteps && localTime(begin).tm_mday != wanted; ++steps) {
        begin += step;
    }
    return begin;
}

} // namespace

std::tm localTime(TimePoint at) {
    // Never later than the moment itself, also before 1970.
    const auto seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(at));
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

TimePoint localMidnight(TimePoint at) {
    return beginningOf(localTime(at));
}

TimePoint nextLocalMidnight(TimePoint midnight) {
    // Noon always belongs to the same day, however the clocks change, and mktime carries a day too many into the next
    // month.
    auto day = localTime(midnight + std::chrono::hours{12});
    ++day.tm_mday;
    return std::max(beginningOf(day), midnight + std::chrono::hours{1});
}

std::string localClock(TimePoint at) {
    const auto local = localTime(at);
    return fmt::format("{:02}:{:02}", local.tm_hour, local.tm_min);
}

std::string localClockWithSeconds(TimePoint at) {
    return fmt::format("{}:{:02}", localClock(at), localTime(at).tm_sec);
}

std::string localDate(TimePoint at) {
    const auto local = localTime(at);
    constexpr int firstYear = 1900;
    return fmt::format("{:04}-{:02}-{:02}", local.tm_year + firstYear, local.tm_mon + 1, local.tm_mday);
}

std::string localDay(TimePoint at) {
    constexpr std::array<const char*, 7> names{"sunday",   "monday", "tuesday", "wednesday",
                                               "thursday", "friday", "saturday"};
    return fmt::format("{} {}", names.at(static_cast<std::size_t>(localTime(at).tm_wday)), localDate(at));
}

std::string shortDuration(std::chrono::seconds length) {
    const auto seconds = std::max<std::int64_t>(length.count(), 0);
    constexpr std::int64_t minute = 60;
    constexpr std::int64_t hour = 60 * minute;
    constexpr std::int64_t day = 24 * hour;
    if (seconds < minute) {
        return fmt::format("{} s", seconds);
    }
    if (seconds < hour) {
        return fmt::format("{} min", seconds / minute);
    }
    if (seconds < day) {
        return fmt::format("{} h {:02} min", seconds / hour, seconds % hour / minute);
    }
    return fmt::format("{} d {:02} h", seconds / day, seconds % day / hour);
}

} // namespace tavo
