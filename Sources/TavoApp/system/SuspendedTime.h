#pragma once

#include <chrono>

namespace tavo {

/// For how long this computer has been suspended since it was started. Setting the clock makes no difference.
std::chrono::seconds suspendedTime();

/// The time since this computer was started, suspended or not. Setting the clock makes no difference.
std::chrono::nanoseconds timeSinceStart();

} // namespace tavo
