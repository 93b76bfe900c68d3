#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace tavo {

/// Work that waits for its time. Destroying it calls it off.
struct HelperTimer {
    virtual ~HelperTimer() = default;
};

/// Does work later, in the program's event loop.
struct HelperTimers {
    virtual ~HelperTimers() = default;

    /// Calls `work` once, `delay` from now and never before this returns. The timer may be destroyed from within
    /// `work`.
    [[nodiscard]] virtual std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay,
                                                             std::function<void()> work) = 0;
};

} // namespace tavo
