#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"
#include "TavoPrivilegedHelper/macos/DispatchSource.h"

namespace tavo {

/// Timers on the main queue.
class DispatchHelperTimers final : public HelperTimers {
public:
    std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay, std::function<void()> work) override {
        return std::make_unique<QueueTimer>(delay, std::move(work));
    }

private:
    class QueueTimer final : public HelperTimer {
    public:
        QueueTimer(std::chrono::milliseconds delay, std::function<void()> work)
            : source(std::chrono::nanoseconds(delay).count(), std::move(work)) {}

    private:
        DispatchSource source;
    };
};

} // namespace tavo
