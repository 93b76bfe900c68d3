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

/// Evaluates as soon as the last matched process exits, so that the lock is not held for up to a minute longer. Where
/// the system cannot watch processes, the next periodic evaluation notices. Lives on the main thread.
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

    /// The minimum time between two of these evaluations. Grows while each finds new processes, for example when a
    /// matched script keeps restarting itself: reading the whole process table every time would cost more than it
    /// saves.
    std::chrono::seconds pause{0};

    /// Identifies the watched set: a notification for an earlier one may still be queued.
    std::shared_ptr<const int> token;
    std::unique_ptr<ProcessExitWatch> watch;
};

} // namespace tavo
