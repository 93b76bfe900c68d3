#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"
#include "system/AsioTimer.h"

namespace tavo {

/// Timers on asio's loop.
class AsioHelperTimers final : public HelperTimers {
public:
    explicit AsioHelperTimers(asio::io_context& loop) : loop(loop) {}

    std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay, std::function<void()> work) override {
        return std::make_unique<LoopTimer>(loop, delay, std::move(work));
    }

private:
    class LoopTimer final : public HelperTimer {
    public:
        LoopTimer(asio::io_context& loop, std::chrono::milliseconds delay, std::function<void()> work)
            : timer(loop, delay, std::move(work)) {}

    private:
        AsioTimer timer;
    };

    asio::io_context& loop;
};

} // namespace tavo
