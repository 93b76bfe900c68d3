#pragma once

#include <chrono>

namespace tavo {

/// When a timer that is started now fires. Long ones fire up to a second late, at a full second of the system's monotonic
/// clock. That is when Qt's coarse timers fire too, and those of other programs that round: the processor wakes up once
/// for all of them.
std::chrono::steady_clock::time_point timerExpiry(std::chrono::steady_clock::time_point now,
                                                  std::chrono::duration<double> delay);

} // namespace tavo
