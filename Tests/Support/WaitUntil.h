#pragma once

#include <chrono>
#include <thread>

namespace tavo {

/// Asks again and again until `condition` holds. Gives false when it does not within the bound, which is generous: a
/// machine under load must not fail a test.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds bound = std::chrono::seconds{20}) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace tavo
