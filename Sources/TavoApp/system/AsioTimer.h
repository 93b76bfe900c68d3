#pragma once

#include <asio/io_context.hpp>

#include <chrono>
#include <functional>
#include <memory>

namespace tavo {

/// Calls a function once, later, from asio's loop. Destroying the timer calls it off, also from within the function.
class AsioTimer {
public:
    AsioTimer(asio::io_context& loop, std::chrono::steady_clock::duration delay, std::function<void()> work);
    AsioTimer(asio::io_context& loop, std::chrono::steady_clock::time_point expiry, std::function<void()> work);
    AsioTimer(const AsioTimer&) = delete;
    AsioTimer& operator=(const AsioTimer&) = delete;
    ~AsioTimer();

    /// Of the implementation.
    struct Wait;

private:
    std::shared_ptr<Wait> wait;
};

} // namespace tavo
