#pragma once

#include "TavoControl/RunOverrides.h"
#include "config/TavoStore.h"
#include "runtime/WorkRequirement.h"

#include <sys/types.h>

#include <optional>
#include <string>

namespace tavo {

/// The Tavo of this user that runs now, as it describes itself in the lock file.
struct RunningTavo {
    pid_t processID = 0;

    /// The options that replace values of the file's configuration.
    RunOverrides overrides;

    /// Present when it stays awake only while the matched programs work; ActivityFile tells whether they do.
    std::optional<WorkRequirement> whileWorking = {};

    /// Whether its window has edits that are not saved: it does not follow the file then.
    bool hasUnsavedEdits = false;

    /// Planned locks that it could not take, as a sentence; empty when there are none.
    std::string assertionNotice;

    /// Nothing when none runs.
    static std::optional<RunningTavo> find(const TavoStoring& store);
};

/// Tells the Tavo that runs with this store to evaluate now, and to check the helper again. Only the holder of the lock
/// is signalled, never the process id that a dead one left in the file. Returns its process id; nothing when none runs.
std::optional<pid_t> tellRunningTavo(const TavoStoring& store);

} // namespace tavo
