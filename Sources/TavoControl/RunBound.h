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

/// A time as a clock on the wall shows it.
struct TimeOfDay {
    int hour = 0;
    int minute = 0;

    bool operator==(const TimeOfDay&) const = default;

    /// "18:30"
    std::string text() const;
};

/// Reads "18:30", "07:05" or "7:05". Gives nothing for anything else, 24:00 among it.
std::optional<TimeOfDay> parseTimeOfDay(std::string_view text);

/// The first moment after `after` at which a clock of this place shows that time. Where a change of the clocks skips it, the
/// moment of that change; where one repeats it, the first time that is still to come.
TimePoint nextLocal(const TimeOfDay& time, TimePoint after);

/// Until when to stay awake, as the user asked for it. Whatever comes first ends it.
struct RunBound {
    std::optional<std::chrono::seconds> length = {};
    std::optional<TimeOfDay> until = {};

    /// While one of these runs; each number once.
    std::vector<pid_t> processes = {};

    bool operator==(const RunBound&) const = default;

    /// When it is over by the wall clock, so that the time that the computer sleeps counts. Nothing where no time was given.
    std::optional<TimePoint> deadline(TimePoint start) const;

    /// Why it is over, where its time has come: "the 45m are over", "it is 18:30".
    std::string timeEndText() const;

    /// Why it is over, where its processes have ended.
    std::string processEndText() const;

    /// For somebody who looks at a run: "until 18:30", "until process 4711 has ended". Empty without a bound.
    std::string text(TimePoint start) const;
};

/// The bound that --for, --until and --pid describe. @throws UsageError
RunBound boundOf(const RawOptions& raw);

/// Which processes have these numbers now. @throws UsageError naming the first number that no running process has.
std::vector<WatchedProcess> runningProcesses(const std::vector<pid_t>& numbers);

} // namespace tavo
