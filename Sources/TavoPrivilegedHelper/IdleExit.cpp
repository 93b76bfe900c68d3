#include "TavoPrivilegedHelper/IdleExit.h"

#include <utility>

namespace tavo {

IdleExit::IdleExit(std::shared_ptr<HelperTimers> timers, std::function<bool()> isBusy, std::function<void()> end)
    : timers(std::move(timers)), isBusy(std::move(isBusy)), end(std::move(end)) {}

void IdleExit::check() {
    timer.reset();
    if (isBusy()) {
        return;
    }
    timer = timers->start(delay, [this] {
        // Whatever it has become busy with calls check() when it is done.
        if (!isBusy()) {
            end();
        }
    });
}

} // namespace tavo
