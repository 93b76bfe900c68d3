#include "TavoControl/RunBound.h"

#include "TavoControl/LocalTime.h"
#include "base/Duration.h"
#include "system/DecimalText.h"
#include "system/ProcessStart.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tavo {

namespace {

using std::chrono::minutes;

constexpr int minutesAnHour = 60;
constexpr int minutesADay = 24 * minutesAnHour;

int minuteOfDay(TimePoint at) {
    const auto local = localTime(at);
    return local.tm_hour * minutesAnHour + local.tm_min;
}

/// How far a clock has to go forward from one time of the day to another.
int minutesForward(int from, int to) {
    return (to - from + minutesADay) % minutesADay;
}

std::optional<int> parseDigits(std::string_view text, std::size_t minDigits) {
    const bool isNumber =
        text.size() >= minDigits && text.size() <= 2 &&
        std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
    return isNumber ? parseInt32(std::string(text)) : std::nullopt;
}

std::chrono::seconds lengthOf(const std::string& given) {
    const auto length = parseDuration(given);
    if (!length || length->count() == 0) {
        throw UsageError(fmt::format("--for takes {}, and more than 0, not \"{}\"", durationForms, given));
    }
    return *length;
}

TimeOfDay untilOf(const std::string& given) {
    const auto time = parseTimeOfDay(given);
    return time ? *time
                : throw UsageError(
                      fmt::format("--until takes a time of the day from 00:00 to 23:59, not \"{}\"", given));
}

pid_t processOf(const std::string& given) {
    const auto number = parseInt32(given);
    return number && *number > 0
               ? *number
               : throw UsageError(fmt::format("--pid takes the process id of a running process, not \"{}\"", given));
}

/// Says on which day, when that is not today.
std::string moment(TimePoint at, TimePoint now) {
    const auto clock = localClockWithSeconds(at);
    return localDate(at) == localDate(now) ? clock : localDate(at) + " " + clock;
}

} // namespace

std::string TimeOfDay::text() const {
    return fmt::format("{:02}:{:02}", hour, minute);
}

std::optional<TimeOfDay> parseTimeOfDay(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const auto hour = parseDigits(text.substr(0, colon), 1);
    const auto minute = parseDigits(text.substr(colon + 1), 2);
    if (!hour || !minute || *hour > 23 || *minute > 59) {
        return std::nullopt;
    }
    return TimeOfDay{.hour = *hour, .minute = *minute};
}

TimePoint nextLocal(const TimeOfDay& time, TimePoint after) {
    const int wanted = time.hour * minutesAnHour + time.minute;
    auto moment = std::chrono::floor<minutes>(after);
    int shown = minuteOfDay(moment);
    // Minute by minute, as the clock goes: at most two days of them, and no rule about clock changes to get wrong.
    while (true) {
        moment += minutes{1};
        const int before = std::exchange(shown, minuteOfDay(moment));
        const int step = minutesForward(before, shown);
        const bool goesForward = step > 0 && step <= minutesADay / 2;
        if (shown == wanted || (goesForward && minutesForward(before, wanted) < step && wanted != before)) {
            return moment;
        }
    }
}

std::optional<TimePoint> RunBound::deadline(TimePoint start) const {
    if (length) {
        return start + *length;
    }
    return until ? std::optional(nextLocal(*until, start)) : std::nullopt;
}

std::string RunBound::timeEndText() const {
    return length ? fmt::format("the {} are over", formatDuration(*length)) : fmt::format("it is {}", until->text());
}

std::string RunBound::processEndText() const {
    return processes.size() == 1 ? fmt::format("process {} has ended", processes.front())
                                 : fmt::format("the last of {} processes has ended", processes.size());
}

std::string RunBound::text(TimePoint start) const {
    std::string text;
    if (const auto end = deadline(start)) {
        text = "until " + moment(*end, start);
    }
    if (!processes.empty()) {
        text += text.empty() ? "until " : " or until ";
        text += processEndText();
    }
    return text;
}

RunBound boundOf(const RawOptions& raw) {
    if (!raw.length.empty() && !raw.until.empty()) {
        throw UsageError("only one of --for and --until can be given");
    }
    RunBound bound;
    if (!raw.length.empty()) {
        bound.length = lengthOf(raw.length);
    }
    if (!raw.until.empty()) {
        bound.until = untilOf(raw.until);
    }
    for (const auto& given : raw.processes) {
        const auto process = processOf(given);
        if (std::find(bound.processes.begin(), bound.processes.end(), process) == bound.processes.end()) {
            bound.processes.push_back(process);
        }
    }
    if (bound.processes.size() > ProcessExitNotifying::maxProcesses) {
        throw UsageError(fmt::format("--pid can name {} processes at most", ProcessExitNotifying::maxProcesses));
    }
    return bound;
}

std::vector<WatchedProcess> runningProcesses(const std::vector<pid_t>& numbers) {
    std::vector<WatchedProcess> processes;
    for (const auto number : numbers) {
        const auto start = processStart(number);
        // A process that the system hides still runs, though it may not be signalled.
        if (!start && !(kill(number, 0) != 0 && errno == EPERM)) {
            throw UsageError(fmt::format("no process with the process id {} is running", number));
        }
        processes.push_back({.pid = number, .startTime = start});
    }
    return processes;
}

} // namespace tavo
