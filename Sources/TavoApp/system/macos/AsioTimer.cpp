#include "system/AsioTimer.h"

#include <asio/steady_timer.hpp>

#include <utility>

namespace tavo {

struct AsioTimer::Wait {
    Wait(asio::io_context& loop, std::chrono::steady_clock::time_point expiry) : timer(loop, expiry) {}

    asio::steady_timer timer;
};

AsioTimer::AsioTimer(asio::io_context& loop, std::chrono::steady_clock::duration delay, std::function<void()> work)
    : AsioTimer(loop, std::chrono::steady_clock::now() + delay, std::move(work)) {}

AsioTimer::AsioTimer(asio::io_context& loop, std::chrono::steady_clock::time_point expiry, std::function<void()> work)
    : wait(std::make_shared<Wait>(loop, expiry)) {
    wait->timer.async_wait([weakSelf = std::weak_ptr(wait), work = std::move(work)](const asio::error_code& error) {
        // A timer that was due already can no longer be cancelled, only told not to run.
        if (!error && !weakSelf.expired()) {
            work();
        }
    });
}

AsioTimer::~AsioTimer() = default;

} // namespace tavo
