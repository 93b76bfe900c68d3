#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"

namespace tavo {

/// Timers on the main queue.
class DispatchHelperTimers final : public HelperTimers {
public:
    std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay, std::function<void()> work) override;
};

} // namespace tavo
