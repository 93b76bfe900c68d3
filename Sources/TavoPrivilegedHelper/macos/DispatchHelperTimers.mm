#include "TavoPrivilegedHelper/macos/DispatchHelperTimers.h"

#include "TavoPrivilegedHelper/macos/DispatchSource.h"

#include <utility>

namespace tavo {

namespace {

class DispatchHelperTimer final : public HelperTimer {
public:
    DispatchHelperTimer(std::chrono::milliseconds delay, std::function<void()> work)
        : source(std::chrono::nanoseconds(delay).count(), std::move(work)) {}

private:
    DispatchSource source;
};

} // namespace

std::unique_ptr<HelperTimer> DispatchHelperTimers::start(std::chrono::milliseconds delay, std::function<void()> work) {
    return std::make_unique<DispatchHelperTimer>(delay, std::move(work));
}

} // namespace tavo
