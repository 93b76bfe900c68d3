#include "app/MatchedExits.h"

#include "config/AppConfig.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

constexpr std::chrono::seconds minPause{1};
constexpr std::chrono::seconds maxPause{AppConfig::fixedPollIntervalSeconds};

/// After this long without such an evaluation, the next exit is evaluated at once.
constexpr TimePoint::duration calm = 2 * maxPause;

std::vector<WatchedProcess> toWatch(const std::vector<MatchedProcessSnapshot>& matched) {
    std::vector<WatchedProcess> processes;
    processes.reserve(matched.size());
    for (const auto& process : matched) {
        processes.push_back({.pid = process.pid, .startTime = process.startTime});
    }
    return processes;
}

} // namespace

MatchedExits::MatchedExits(std::shared_ptr<MainLoop> loop, std::shared_ptr<ProcessExitNotifying> exits,
                           std::function<void()> evaluate)
    : loop(std::move(loop)), exits(std::move(exits)), evaluate(std::move(evaluate)) {}

void MatchedExits::follow(const std::vector<MatchedProcessSnapshot>& matched) {
    auto processes = toWatch(matched);
    if (processes.empty()) {
        pause = {};
    }
    if (isWatchingStill(processes)) {
        return;
    }
    stop();
    watched = std::move(processes);
    if (exits) {
        start();
    }
}

/// Without the start time, a process might have exited and its number been reused.
bool MatchedExits::isWatchingStill(const std::vector<WatchedProcess>& processes) const {
    return watch && processes == watched && std::all_of(watched.begin(), watched.end(), [](const auto& process) {
               return process.startTime.has_value();
           });
}

void MatchedExits::start() {
    token = std::make_shared<const int>(0);
    const auto onExit = [this, weakLoop = std::weak_ptr(loop), weakToken = std::weak_ptr(token)] {
        if (const auto strongLoop = weakLoop.lock()) {
            strongLoop->post([this, weakToken] {
                if (!weakToken.expired()) {
                    lastHasEnded();
                }
            });
        }
    };
    try {
        watch = exits->watch(watched, onExit);
    } catch (const std::exception&) {
        // The next evaluation notices, at most a minute later.
    }
}

void MatchedExits::stop() {
    token.reset();
    watch.reset();
    timer.reset();
    watched.clear();
}

void MatchedExits::lastHasEnded() {
    stop();
    const auto sinceLast = lastEvaluation ? loop->now() - *lastEvaluation : calm;
    if (sinceLast >= calm) {
        pause = {};
    }
    // A negative difference says nothing: the clock was set back.
    if (sinceLast >= pause || sinceLast < TimePoint::duration::zero()) {
        evaluateNow();
        return;
    }
    timer = loop->startTimer(std::chrono::duration<double>(pause - sinceLast).count(), [this] { evaluateNow(); });
}

void MatchedExits::evaluateNow() {
    lastEvaluation = loop->now();
    pause = std::clamp(2 * pause, minPause, maxPause);
    const auto call = evaluate; // may make this object cancel its timer, or destroy it
    call();
}

} // namespace tavo
