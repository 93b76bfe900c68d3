#pragma once

#include "base/Time.h"

#include <ctime>
#include <string>

namespace tavo {

/// A moment in the time zone of this process.
std::tm localTime(TimePoint at);

/// The beginning of the local day that holds a moment.
TimePoint localMidnight(TimePoint at);

/// The beginning of the next local day: 23, 24 or 25 hours after that of the day before.
TimePoint nextLocalMidnight(TimePoint midnight);

/// "14:05".
std::string localClock(TimePoint at);

/// "14:05:09".
std::string localClockWithSeconds(TimePoint at);

/// "2026-03-29".
std::string localDate(TimePoint at);

/// "sunday 2026-03-29".
std::string localDay(TimePoint at);

/// A length of time with two units at most: "3 h 05 min", "45 min", "12 s", "2 d 04 h".
std::string shortDuration(std::chrono::seconds length);

} // namespace tavo
