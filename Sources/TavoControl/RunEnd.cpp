#include "TavoControl/RunEnd.h"

#include "config/AppConfig.h"
#include "system/ProcessStart.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tavo {

namespace {

/// In seconds. A timer does not count the time for which the computer sleeps, and does not notice when the clock is
/// set.
constexpr double maxWait = AppConfig::fixedPollIntervalSeconds;

/// The clock is corrected by little all the time, and two clocks are read one after the other.
constexpr std::chrono::seconds clockTolerance{5};

bool isRunning(const WatchedProcess& process) {
    return process.startTime ? processStart(process.pid) == process.startTime
                             : kill(process.pid, 0) == 0 || errno == EPERM;
}

} // namespace

RunEnd::RunEnd(RunBound bound, std::vector<WatchedProcess> processes, std::shared_ptr<MainLoop> loop,
               std::shared_ptr<ProcessExitNotifying> exits, std::function<void(const std::string& why)> onEnd,
               std::function<std::chrono::nanoseconds()> elapsed)
    : bound(std::move(bound)), processes(std::move(processes)), loop(std::move(loop)), onEnd(std::move(onEnd)),
      elapsed(std::move(elapsed)), lastLook(this->loop->now()),
      elapsedAtLastLook(this->elapsed ? this->elapsed() : std::chrono::nanoseconds{}),
      end(this->bound.deadline(this->loop->now())), boundText(this->bound.text(this->loop->now())) {
    if (!this->processes.empty() && exits) {
        watchProcesses(*exits);
    }
    rearm();
}

void RunEnd::watchProcesses(ProcessExitNotifying& exits) {
    const auto tell = [this, weakLoop = std::weak_ptr(loop), weakToken = std::weak_ptr(token)] {
        if (const auto strongLoop = weakLoop.lock()) {
            strongLoop->post([this, weakToken] {
                if (!weakToken.expired()) {
                    finish(bound.processEndText());
                }
            });
        }
    };
    try {
        watch = exits.watch(processes, tell);
    } catch (const std::exception&) {
        // They are checked once a minute then.
    }
}

bool RunEnd::hasAnyProcess() const {
    return std::any_of(processes.begin(), processes.end(), isRunning);
}

void RunEnd::check() {
    if (isOver) {
        return;
    }
    followClock();
    if (end && loop->now() >= *end) {
        finish(bound.timeEndText());
    } else if (!processes.empty() && !watch && !hasAnyProcess()) {
        finish(bound.processEndText());
    } else {
        rearm();
    }
}

/// A clock that somebody sets makes no length longer or shorter, and no time of the day is more than a day away.
void RunEnd::followClock() {
    if (!elapsed || !end) {
        return;
    }
    const auto now = loop->now();
    const auto passed = elapsed();
    const auto setBy = (now - lastLook) - (passed - elapsedAtLastLook);
    lastLook = now;
    elapsedAtLastLook = passed;
    if (std::chrono::abs(setBy) <= clockTolerance) {
        return;
    }
    if (bound.length) {
        *end += std::chrono::duration_cast<TimePoint::duration>(setBy);
    } else if (now < *end) {
        end = bound.deadline(now);
    }
}

void RunEnd::rearm() {
    if (!end && (processes.empty() || watch)) {
        return; // nothing here depends on the time
    }
    const double left = end ? std::chrono::duration<double>(*end - loop->now()).count() : maxWait;
    timer = loop->startTimer(std::clamp(left, 0.0, maxWait), [this] { check(); });
}

void RunEnd::finish(const std::string& why) {
    if (std::exchange(isOver, true)) {
        return;
    }
    timer.reset();
    const auto call = std::move(onEnd);
    call(why);
}

} // namespace tavo
