#include "base/Time.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace tavo {

namespace {

/// Reads the two digits at `at`; gives -1 when there are none.
int twoDigits(std::string_view text, std::size_t at) {
    const auto digit = [&](std::size_t index) {
        return text[index] >= '0' && text[index] <= '9' ? text[index] - '0' : -1;
    };
    const int tens = digit(at);
    const int ones = digit(at + 1);
    return tens < 0 || ones < 0 ? -1 : tens * 10 + ones;
}

/// Reads "Z" or "+hh:mm" or "-hh:mm" as the zone's distance from UTC.
std::optional<std::chrono::minutes> parseOffset(std::string_view text) {
    if (text == "Z") {
        return std::chrono::minutes{0};
    }
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') {
        return std::nullopt;
    }
    const int hours = twoDigits(text, 1);
    const int minutes = twoDigits(text, 4);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59) {
        return std::nullopt;
    }
    const auto offset = std::chrono::hours{hours} + std::chrono::minutes{minutes};
    return text[0] == '-' ? -offset : offset;
}

} // namespace

std::string formatISO8601(TimePoint moment) {
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(moment)));
}

std::optional<TimePoint> parseISO8601(std::string_view text) {
    constexpr std::size_t dateAndTimeLength = 19;
    if (text.size() <= dateAndTimeLength || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':') {
        return std::nullopt;
    }
    const int century = twoDigits(text, 0);
    const int yearOfCentury = twoDigits(text, 2);
    const int month = twoDigits(text, 5);
    const int day = twoDigits(text, 8);
    const int hour = twoDigits(text, 11);
    const int minute = twoDigits(text, 14);
    const int second = twoDigits(text, 17);
    const auto offset = parseOffset(text.substr(dateAndTimeLength));
    if (century < 0 || yearOfCentury < 0 || month < 0 || day < 0 || hour < 0 || hour > 23 || minute < 0 ||
        minute > 59 || second < 0 || second > 59 || !offset) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{century * 100 + yearOfCentury},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    const std::chrono::sys_seconds moment = std::chrono::sys_days{date} + std::chrono::hours{hour} +
                                            std::chrono::minutes{minute} + std::chrono::seconds{second} - *offset;
    // In nanoseconds, 64 bits last from 1677 to 2262.
    if (moment < std::chrono::ceil<std::chrono::seconds>(TimePoint::min()) ||
        moment > std::chrono::floor<std::chrono::seconds>(TimePoint::max())) {
        return std::nullopt;
    }
    return moment;
}

} // namespace tavo
