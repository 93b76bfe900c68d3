#pragma once

#include "TavoControl/Console.h"
#include "base/Time.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

/// Days as drawn lines, one character for a quarter of an hour, in local time.
class AwakeChart {
public:
    using Span = std::pair<TimePoint, TimePoint>;

    /// @param awake  when the computer was kept awake, in any order.
    /// @param from   the first day is the one that holds this moment; what lies before stays blank.
    /// @param to     likewise for the last day.
    AwakeChart(std::vector<Span> awake, TimePoint from, TimePoint to) : awake(std::move(awake)), from(from), to(to) {}

    /// One day after the other, each in rows of as many whole hours as fit a line. Above each row are the hours: on the
    /// day that summer time begins or ends, one is left out or comes twice.
    /// @param width  of a line, in characters.
    std::vector<std::string> lines(const Console& console, std::size_t width) const;

    /// How much of the time between `from` and `to` it was kept awake, by one program or by several.
    std::chrono::seconds awakeTime() const;

private:
    std::vector<std::string> dayLines(TimePoint midnight, TimePoint nextMidnight, const Console& console,
                                      std::size_t quartersPerRow) const;
    std::string bar(TimePoint start, TimePoint end, const Console& console) const;
    bool isAwakeIn(TimePoint start, TimePoint end) const;

    std::vector<Span> awake;
    TimePoint from;
    TimePoint to;
};

} // namespace tavo
