#include "Require.h"
#include "TavoControl/LocalTime.h"
#include "TavoControl/RunBound.h"
#include "base/Duration.h"
#include "base/Time.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {
namespace {

using std::chrono::seconds;

/// Another reading of a duration: the numbers between the units, in their order.
std::optional<std::int64_t> expectedDuration(std::string_view text) {
    if (text == "0") {
        return 0;
    }
    std::int64_t total = 0;
    bool isEmpty = true;
    for (const auto& [unit, length] : {std::pair('h', 3600), std::pair('m', 60), std::pair('s', 1)}) {
        const auto end = text.find(unit);
        if (end == std::string_view::npos) {
            continue;
        }
        auto digits = text.substr(0, end);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
            return std::nullopt;
        }
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
        constexpr std::size_t mostDigits = 8; // more than the seconds of the longest
        if (digits.size() > mostDigits) {
            return std::nullopt;
        }
        const auto number = digits.empty() ? 0 : std::stoll(std::string(digits));
        total += number * length;
        isEmpty = false;
        text.remove_prefix(end + 1);
    }
    return text.empty() && !isEmpty && total <= maxDuration.count() ? std::optional<std::int64_t>(total) : std::nullopt;
}

void checkDurationText(std::string_view text) {
    const auto duration = parseDuration(text);
    const auto expected = expectedDuration(text);
    require(duration.has_value() == expected.has_value() && (!duration || duration->count() == *expected),
            "a duration is the sum of its parts");
    if (duration) {
        const auto written = formatDuration(*duration);
        require(parseDuration(written) == duration, "a duration reads back");
        require(formatDuration(*parseDuration(written)) == written, "a duration has one form");
    }
}

void checkDuration(std::int64_t number) {
    const seconds duration{number & 0x3FFFFFF};
    require((duration <= maxDuration) == (parseDuration(formatDuration(duration)) == duration),
            "every duration up to the longest reads back, and no longer one");
    const auto spoken = spokenDuration(duration.count());
    require(std::atoll(spoken.c_str()) <= duration.count(), "a spoken duration is no longer than it is");
    require(spoken.ends_with('s') == (std::atoll(spoken.c_str()) != 1), "one is not many");
}

/// The fields of a moment by the C library, for a time zone so far from UTC.
std::string fieldsAt(TimePoint moment, std::int64_t offset) {
    const auto time = static_cast<std::time_t>(std::chrono::floor<seconds>(moment).time_since_epoch().count() + offset);
    std::tm fields{};
    gmtime_r(&time, &fields);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &fields)};
}

void checkMomentText(std::string_view text) {
    const auto moment = parseISO8601(text);
    if (!moment) {
        return;
    }
    const auto digits = [&](std::size_t at) { return std::stoll(std::string(text.substr(at, 2))); };
    auto offset = text.size() > 20 ? digits(20) * 3600 + digits(23) * 60 : 0;
    offset = text[19] == '-' ? -offset : offset;
    require(fieldsAt(*moment, offset) == text.substr(0, 19), "a moment has the fields that were read");
    require(parseISO8601(formatISO8601(*moment)) == moment, "a moment reads back");
}

/// Within the years that a history may have, in which local time is not all made of exceptions.
void checkMoment(std::int64_t number) {
    constexpr std::int64_t year2000 = 946684800;
    constexpr std::int64_t year2200 = 7258118400;
    const auto moment =
        TimePoint(seconds(year2000 + static_cast<std::int64_t>(static_cast<std::uint64_t>(number) %
                                                               static_cast<std::uint64_t>(year2200 - year2000))));
    require(formatISO8601(moment) == fieldsAt(moment, 0) + "Z", "the C library writes the same");
    require(parseISO8601(formatISO8601(moment)) == moment, "every moment reads back");
    const auto midnight = localMidnight(moment);
    const auto next = nextLocalMidnight(midnight);
    require(midnight <= moment && moment < next, "a moment lies in its day");
    require(localDate(midnight) == localDate(moment), "a day begins on its own date");
    require(localDate(next - seconds(1)) == localDate(moment), "a day ends on its own date");
    require(localDate(next) != localDate(moment), "the next day is another one");
    const auto clock = localClock(moment);
    const auto time = parseTimeOfDay(clock);
    require(time && time->text() == clock, "a time of the day reads back");
    const auto later = nextLocal(*time, moment);
    require(later > moment && later - moment <= std::chrono::hours(26), "a time of the day comes within a day");
}

/// Rules without files, with clock changes of an hour and of half of one, before and after midnight, on both halves of
/// the earth.
void chooseTimeZone(unsigned char number) {
    constexpr std::array<const char*, 8> zones{"UTC0",
                                               "CET-1CEST,M3.5.0,M10.5.0/3",
                                               "EST5EDT,M3.2.0,M11.1.0",
                                               "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                                               "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1",
                                               "EET-2EEST,M3.5.0/0,M10.5.0/0",
                                               "<+14>-14",
                                               "<-12>12"};
    static const char* chosen = nullptr;
    const auto* const zone = zones.at(number % zones.size());
    if (chosen != zone) {
        chosen = zone;
        setenv("TZ", zone, 1);
        tzset();
    }
}

} // namespace
} // namespace tavo

/// Texts and numbers are read and written in ways that agree with each other and with the C library. The first byte
/// chooses a time zone; the rest is a text, and its first bytes are a number.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    tavo::chooseTimeZone(data[0]);
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    tavo::checkDurationText(text);
    tavo::checkMomentText(text);
    if (const auto time = tavo::parseTimeOfDay(text)) {
        tavo::require(tavo::parseTimeOfDay(time->text()) == time, "a time of the day reads back");
    }
    std::int64_t number = 0;
    std::memcpy(&number, text.data(), std::min(text.size(), sizeof(number)));
    tavo::checkDuration(number);
    tavo::checkMoment(number);
    return 0;
}
