#include "RunningTavo.h"

#include "config/InstanceLock.h"

#include <csignal>

namespace tavo {

std::optional<pid_t> tellRunningTavo(const TavoStoring& store) {
    const auto holder = InstanceLock::holder(store.paths().lockURL());
    return holder && kill(*holder, SIGUSR1) == 0 ? holder : std::nullopt;
}

} // namespace tavo
