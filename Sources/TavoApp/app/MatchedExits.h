#pragma once

#include "app/MainLoop.h"
#include "base/RuntimeRecords.h"
#include "system/ProcessExits.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tavo {

/// Has an evaluation follow the end of the last matched process at once, so that the lock does not outlive it by a minute.
/// Where the system cannot watch the processes, the minute decides. Lives on the main thread.
class MatchedExits {
public:
    /// @param exits  may be null.
    /// @param evaluate  called on the main thread; calls follow() in turn.
    MatchedExits(std::shared_ptr<MainLoop> loop, std::shared_ptr<ProcessExitNotifying> exits,
                 std::function<void()> evaluate);

    /// After every evaluation: these are the processes to watch now.
    void follow(const std::vector<MatchedProcessSnapshot>& matched);

    /// Watches nothing until follow() is called again.
    void stop();

private:
    void start();
    void lastHasEnded();
    void evaluateNow();
    bool isWatchingStill(const std::vector<WatchedProcess>& processes) const;

    std::shared_ptr<MainLoop> loop;
    std::shared_ptr<ProcessExitNotifying> exits;
    std::function<void()> evaluate;

    std::vector<WatchedProcess> watched;
    std::unique_ptr<MainLoopTimer> timer;
    std::optional<TimePoint> lastEvaluation;

    /// Between two evaluations of this making. Grows while each finds other processes, as where a script that is matched
    /// keeps starting another of its kind: reading the whole table for each of them would cost more than it saves.
    std::chrono::seconds pause{0};

    /// Of the set that is watched: word of an earlier one may still be on its way.
    std::shared_ptr<const int> token;
    std::unique_ptr<ProcessExitWatch> watch;
};

} // namespace tavo
