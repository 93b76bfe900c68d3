#pragma once

#include "TavoControl/RunBound.h"
#include "app/MainLoop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Ends a bounded run when its time is up or its processes have ended. Used on the main thread only.
class RunEnd {
public:
    /// The time starts now.
    /// @param processes  the bound's, see runningProcesses().
    /// @param exits      may be null: the processes are then checked once a minute.
    /// @param onEnd      called once, on the main thread and never from within the constructor, with the reason. May
    ///                   destroy this.
    /// @param elapsed    the time that passes, asleep or awake, whoever sets the clock; without it the clock is believed.
    RunEnd(RunBound bound, std::vector<WatchedProcess> processes, std::shared_ptr<MainLoop> loop,
           std::shared_ptr<ProcessExitNotifying> exits, std::function<void(const std::string& why)> onEnd,
           std::function<std::chrono::nanoseconds()> elapsed = {});
    RunEnd(const RunEnd&) = delete;
    RunEnd& operator=(const RunEnd&) = delete;
    ~RunEnd() = default;

    /// Ends the run if it is over. Call it whenever something else happens: timers stand still while the computer
    /// sleeps.
    void check();

    std::optional<TimePoint> deadline() const { return end; }

    /// See RunBound::text().
    const std::string& text() const { return boundText; }

private:
    void watchProcesses(ProcessExitNotifying& exits);
    bool hasAnyProcess() const;
    void followClock();
    void rearm();
    void finish(const std::string& why);

    RunBound bound;
    std::vector<WatchedProcess> processes;
    std::shared_ptr<MainLoop> loop;
    std::function<void(const std::string&)> onEnd;
    std::function<std::chrono::nanoseconds()> elapsed;
    TimePoint lastLook;
    std::chrono::nanoseconds elapsedAtLastLook{};
    std::optional<TimePoint> end;
    std::string boundText;
    bool isOver = false;
    std::unique_ptr<MainLoopTimer> timer;

    /// Tells calls that the processes' watch has posted whether this still exists.
    std::shared_ptr<const int> token = std::make_shared<const int>(0);
    std::unique_ptr<ProcessExitWatch> watch;
};

} // namespace tavo
