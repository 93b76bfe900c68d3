#include "TavoPrivilegedHelper/AbsenceConfirmation.h"

#include <utility>

namespace tavo {

AbsenceConfirmation::AbsenceConfirmation(std::shared_ptr<HelperTimers> timers, IsServed isServed,
                                         std::function<void(const IsServed&)> endUnserved)
    : timers(std::move(timers)), isServed(std::move(isServed)), endUnserved(std::move(endUnserved)) {}

void AbsenceConfirmation::check() {
    // A second change during the pause confirms nothing: changes come in bursts.
    if (!confirmation) {
        endAbsent({});
    }
}

void AbsenceConfirmation::endAbsent(const std::set<uid_t>& suspects) {
    std::set<uid_t> absent;
    endUnserved([&](uid_t user) {
        if (isServed(user)) {
            return true;
        }
        if (suspects.contains(user)) {
            return false;
        }
        absent.insert(user);
        return true;
    });
    if (!absent.empty()) {
        confirmation = timers->start(pause, [this, absent] {
            const auto running = std::move(confirmation);
            endAbsent(absent);
        });
    }
}

} // namespace tavo
