#include "Support/BusPump.h"

#include <chrono>

namespace tavo {

bool BusPump::until(const std::function<bool()>& happened) {
    // For conditions that bring no event here, such as a program's end.
    constexpr std::uint64_t lookEveryMicroseconds = 5'000;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!happened()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        checked(sd_event_run(loop.get(), lookEveryMicroseconds), "serve the scripted services");
    }
    return true;
}

} // namespace tavo
