#pragma once

#include "config/TavoStore.h"

#include <sys/types.h>

#include <optional>

namespace tavo {

/// Tells the Tavo that runs with this store to evaluate now, and to look at the helper again. Only who holds the lock is
/// signalled, never a number that a process has left behind. Gives its process id; nothing when none runs.
std::optional<pid_t> tellRunningTavo(const TavoStoring& store);

} // namespace tavo
