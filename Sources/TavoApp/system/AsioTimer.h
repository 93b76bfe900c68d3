#pragma once

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace tavo {

/// Calls a function once, later, from asio's loop. Destroying the timer calls it off, also from within the function.
class AsioTimer {
public:
    AsioTimer(asio::io_context& loop, std::chrono::steady_clock::duration delay, std::function<void()> work)
        : timer(loop, delay) {
        timer.async_wait([weakSelf = std::weak_ptr(alive), work = std::move(work)](const asio::error_code& error) {
            // A timer that was due already can no longer be cancelled, only told not to run.
            if (!error && !weakSelf.expired()) {
                work();
            }
        });
    }
    AsioTimer(const AsioTimer&) = delete;
    AsioTimer& operator=(const AsioTimer&) = delete;

private:
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    asio::steady_timer timer;
};

} // namespace tavo
