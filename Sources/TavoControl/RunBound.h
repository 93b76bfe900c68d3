#pragma once

#include "TavoControl/CommandOptions.h"
#include "base/Time.h"
#include "system/ProcessExits.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// A time of the day, as a wall clock shows it.
struct TimeOfDay {
    int hour = 0;
    int minute = 0;

    bool operator==(const TimeOfDay&) const = default;

    /// "18:30"
    std::string text() const;
};

/// Parses "18:30", "07:05" or "7:05". Returns nothing for anything else, including 24:00.
std::optional<TimeOfDay> parseTimeOfDay(std::string_view text);

/// The first moment after `after` at which the local clock shows that time. Where a clock change skips it, the moment
/// of that change; where one repeats it, the first that is still to come.
TimePoint nextLocal(const TimeOfDay& time, TimePoint after);

/// The end of a run that the user asked for. Whichever condition is met first ends it.
struct RunBound {
    std::optional<std::chrono::seconds> length = {};
    std::optional<TimeOfDay> until = {};

    /// Stay awake while one of these runs; each number once.
    std::vector<pid_t> processes = {};

    bool operator==(const RunBound&) const = default;

    /// The end by the wall clock, so that the time for which the computer sleeps counts. Nothing without a time.
    std::optional<TimePoint> deadline(TimePoint start) const;

    /// Why the run ended, when its time is up: "the 45m are over", "it is 18:30".
    std::string timeEndText() const;

    /// Why the run ended, when its processes have ended.
    std::string processEndText() const;

    /// For the run's output: "until 18:30", "until process 4711 has ended". Empty without a bound.
    std::string text(TimePoint start) const;
};

/// The bound that --for, --until and --pid describe. @throws UsageError
RunBound boundOf(const RawOptions& raw);

/// The processes that have these numbers now. @throws UsageError naming the first number that no running process has.
std::vector<WatchedProcess> runningProcesses(const std::vector<pid_t>& numbers);

} // namespace tavo
