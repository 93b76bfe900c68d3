#pragma once

#include "base/Time.h"

#include <functional>
#include <memory>

namespace tavo {

/// A timer that has not fired yet; destroying it calls it off.
struct MainLoopTimer {
    virtual ~MainLoopTimer() = default;
};

/// The thread on which everything runs that the user sees. Each program brings its own.
struct MainLoop {
    virtual ~MainLoop() = default;

    /// The wall clock.
    virtual TimePoint now() const = 0;

    /// Runs `work` on the main thread, after what is running there now. May be called from any thread.
    virtual void post(std::function<void()> work) = 0;

    /// Runs `work` once on the main thread, `seconds` from now. To be called on the main thread.
    [[nodiscard]] virtual std::unique_ptr<MainLoopTimer> startTimer(double seconds, std::function<void()> work) = 0;

    /// Runs `work` on another thread and then `then` on the main thread. To be called on the main thread. Neither may throw.
    virtual void runInBackground(std::function<void()> work, std::function<void()> then) = 0;
};

} // namespace tavo
