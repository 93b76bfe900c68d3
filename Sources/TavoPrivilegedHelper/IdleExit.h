#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"

#include <chrono>
#include <functional>
#include <memory>

namespace tavo {

/// Ends a helper that is started again when somebody asks for it: once it has had nothing to do for a moment.
class IdleExit {
public:
    /// Longer than a Tavo takes between two commands, so that those of one change meet one helper.
    static constexpr std::chrono::milliseconds delay{2000};

    /// @param isBusy  whether there is something to wait for: a connection, an override, work to be tried again.
    /// @param end     ends the helper. May still find that it is busy, and call check() then.
    IdleExit(std::shared_ptr<HelperTimers> timers, std::function<bool()> isBusy, std::function<void()> end);

    /// To be called when the helper begins to run, and whenever something it was busy with is done.
    void check();

private:
    std::shared_ptr<HelperTimers> timers;
    std::function<bool()> isBusy;
    std::function<void()> end;
    std::unique_ptr<HelperTimer> timer;
};

} // namespace tavo
