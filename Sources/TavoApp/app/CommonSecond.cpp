#include "app/CommonSecond.h"

namespace tavo {

namespace {

/// Where Qt begins to round to seconds: a second is a twentieth of it.
constexpr std::chrono::seconds shortestRounded{20};

} // namespace

std::chrono::steady_clock::time_point timerExpiry(std::chrono::steady_clock::time_point now,
                                                  std::chrono::duration<double> delay) {
    const auto exact = now + std::chrono::duration_cast<std::chrono::steady_clock::duration>(delay);
    return delay < shortestRounded ? exact : std::chrono::ceil<std::chrono::seconds>(exact);
}

} // namespace tavo
