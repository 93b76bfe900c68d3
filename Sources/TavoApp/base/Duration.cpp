#include "base/Duration.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace tavo {

namespace {

constexpr std::array<std::pair<char, std::int64_t>, 3> units{{{'h', 3600}, {'m', 60}, {'s', 1}}};

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Takes a whole number off the front; nothing when there is none, or one that no duration needs.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
    const auto length = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
    if (length == 0) {
        return std::nullopt;
    }
    std::int64_t number = 0;
    for (const char digit : text.substr(0, length)) {
        number = number * 10 + (digit - '0');
        if (number > maxDuration.count()) {
            return std::nullopt;
        }
    }
    text.remove_prefix(length);
    return number;
}

} // namespace

std::optional<std::chrono::seconds> parseDuration(std::string_view text) {
    if (text == "0") {
        return std::chrono::seconds{0};
    }
    if (text.empty()) {
        return std::nullopt;
    }
    std::int64_t total = 0;
    std::size_t nextUnit = 0;
    while (!text.empty()) {
        const auto number = takeNumber(text);
        if (!number || text.empty()) {
            return std::nullopt;
        }
        while (nextUnit < units.size() && units[nextUnit].first != text.front()) {
            ++nextUnit;
        }
        if (nextUnit == units.size()) {
            return std::nullopt;
        }
        total += *number * units[nextUnit].second;
        ++nextUnit;
        text.remove_prefix(1);
    }
    return total <= maxDuration.count() ? std::optional(std::chrono::seconds{total}) : std::nullopt;
}

std::string formatDuration(std::chrono::seconds duration) {
    std::string text;
    auto rest = duration.count();
    for (const auto& [unit, length] : units) {
        if (const auto count = rest / length; count > 0) {
            text += fmt::format("{}{}", count, unit);
            rest %= length;
        }
    }
    return text.empty() ? "0" : text;
}

std::string spokenDuration(std::int64_t seconds) {
    constexpr std::array<std::pair<std::int64_t, const char*>, 4> spokenUnits{
        {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}}};
    for (const auto& [length, name] : spokenUnits) {
        if (seconds >= length) {
            const auto count = seconds / length;
            return fmt::format("{} {}{}", count, name, count == 1 ? "" : "s");
        }
    }
    return "0 seconds";
}

} // namespace tavo
