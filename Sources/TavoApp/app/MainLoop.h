#pragma once

#include "base/Time.h"

#include <functional>
#include <memory>

namespace tavo {

/// A timer; destroying it cancels it if it has not fired yet.
struct MainLoopTimer {
    virtual ~MainLoopTimer() = default;
};

/// The event loop of the main thread, on which everything runs that the user sees. Each program has its own.
struct MainLoop {
    virtual ~MainLoop() = default;

    /// The wall clock.
    virtual TimePoint now() const = 0;

    /// Runs `work` on the main thread once the current task returns. May be called from any thread.
    virtual void post(std::function<void()> work) = 0;

    /// Runs `work` once on the main thread, `seconds` from now. Must be called on the main thread.
    [[nodiscard]] virtual std::unique_ptr<MainLoopTimer> startTimer(double seconds, std::function<void()> work) = 0;

    /// Runs `work` on another thread and then `then` on the main thread. Must be called on the main thread; neither may
    /// throw.
    virtual void runInBackground(std::function<void()> work, std::function<void()> then) = 0;
};

} // namespace tavo
