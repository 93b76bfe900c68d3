#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <set>

namespace tavo {

/// Ends the overrides of users who have gone, once they are found absent twice.
///
/// While logind restarts, and while it starts or stops a user's service manager, it reports states in which nobody is
/// there, for some milliseconds up to a second. A user who stays must not lose an override to that.
class AbsenceConfirmation {
public:
    static constexpr std::chrono::milliseconds pause{3000};

    using IsServed = std::function<bool(uid_t user)>;

    /// @param endUnserved  ends the overrides of each user whom the given function calls unserved.
    AbsenceConfirmation(std::shared_ptr<HelperTimers> timers, IsServed isServed,
                        std::function<void(const IsServed&)> endUnserved);

    /// To be called when the presence of any user may have changed. An absence that it finds is confirmed after
    /// `pause`.
    void check();

private:
    void endAbsent(const std::set<uid_t>& suspects);

    std::shared_ptr<HelperTimers> timers;
    IsServed isServed;
    std::function<void(const IsServed&)> endUnserved;
    std::unique_ptr<HelperTimer> confirmation;
};

} // namespace tavo
