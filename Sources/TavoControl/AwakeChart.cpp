#include "TavoControl/AwakeChart.h"

#include "TavoControl/LocalTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace tavo {

namespace {

constexpr std::chrono::minutes quarter{15};
constexpr std::size_t quartersAnHour = 4;
constexpr std::string_view indentation = "  ";

/// A whole day, a half, a quarter, and less for what is hardly a line.
std::size_t quartersPerRow(std::size_t width) {
    constexpr std::array<std::size_t, 5> hours{24, 12, 6, 4, 2};
    const auto fits = [&](std::size_t count) { return count * quartersAnHour + indentation.size() <= width; };
    const auto* const found = std::find_if(hours.begin(), hours.end(), fits);
    return (found == hours.end() ? 1 : *found) * quartersAnHour;
}

/// The hours that begin in a row, each above its first quarter.
std::string hourScale(TimePoint start, TimePoint end) {
    std::string scale;
    for (auto at = start; at < end; at += quarter) {
        const auto local = localTime(at);
        const auto column = static_cast<std::size_t>((at - start) / quarter);
        if (local.tm_min == 0 && scale.size() <= column) {
            scale.resize(column, ' ');
            scale += std::to_string(local.tm_hour);
        }
    }
    return scale;
}

} // namespace

std::vector<std::string> AwakeChart::lines(const Console& console, std::size_t width) const {
    std::vector<std::string> result;
    const auto perRow = quartersPerRow(width);
    for (auto midnight = localMidnight(from); midnight < to || result.empty();) {
        const auto next = nextLocalMidnight(midnight);
        for (auto& line : dayLines(midnight, next, console, perRow)) {
            result.push_back(std::move(line));
        }
        midnight = next;
    }
    return result;
}

std::vector<std::string> AwakeChart::dayLines(TimePoint midnight, TimePoint nextMidnight, const Console& console,
                                              std::size_t perRow) const {
    std::vector<std::string> result{console.styled(localDay(midnight), Emphasis::strong)};
    const auto row = quarter * perRow;
    for (auto start = midnight; start < nextMidnight; start += row) {
        const auto end = std::min<TimePoint>(start + row, nextMidnight);
        result.push_back(std::string(indentation) + hourScale(start, end));
        result.push_back(std::string(indentation) + bar(start, end, console));
    }
    return result;
}

std::string AwakeChart::bar(TimePoint start, TimePoint end, const Console& console) const {
    std::string result;
    std::string piece;
    const auto finishPiece = [&] {
        if (!piece.empty()) {
            result += console.styled(piece, piece.front() == '#' ? Emphasis::good : Emphasis::none);
            piece.clear();
        }
    };
    for (auto at = start; at < end; at += quarter) {
        const bool isAsked = at < to && at + quarter > from;
        const char mark = !isAsked ? ' ' : isAwakeIn(at, at + quarter) ? '#' : '.';
        if (!piece.empty() && piece.front() != mark) {
            finishPiece();
        }
        piece += mark;
    }
    finishPiece();
    return result;
}

bool AwakeChart::isAwakeIn(TimePoint start, TimePoint end) const {
    return std::any_of(awake.begin(), awake.end(), [&](const Span& span) {
        return span.first < std::min(end, to) && span.second > std::max(start, from);
    });
}

std::chrono::seconds AwakeChart::awakeTime() const {
    auto spans = awake;
    std::sort(spans.begin(), spans.end());
    TimePoint::duration sum{};
    auto counted = from;
    for (const auto& [start, end] : spans) {
        const auto first = std::max(start, counted);
        const auto last = std::min(end, to);
        if (last > first) {
            sum += last - first;
            counted = last;
        }
    }
    return std::chrono::duration_cast<std::chrono::seconds>(sum);
}

} // namespace tavo
