#pragma once

#include "config/TavoPaths.h"
#include "runtime/WorkActivity.h"

#include <optional>

namespace tavo {

/// "activity.json": whether the matched programs of a running Tavo work or wait. Lies beside its lock, is for its user
/// alone (0600), and exists only while a Tavo runs that was asked to stay awake while they work.
///
/// Keys: those of WorkActivity ("busyPercent", "graceSeconds", "lookedAt", "lastWorkAt", "graceEndsAt", "isWorking",
/// and "trees" with "pid", "executableName", "cpuPercent", "membersChanged", "isWorking" and "verdict"), and
/// "processID" and "processStart", which name the process that wrote it.
class ActivityFile {
public:
    explicit ActivityFile(TavoPaths paths) : paths(std::move(paths)) {}

    std::filesystem::path path() const { return paths.rootDirectory / "activity.json"; }

    /// For the process that holds the lock. @throws std::system_error, with the previous file whole.
    void write(const WorkActivity& activity) const;

    /// Does nothing when there is none, and never fails: a file that stays behind is not believed.
    void remove() const noexcept;

    /// The last record of the Tavo that runs now. Nothing when none runs, when it was not asked for this or has
    /// measured nothing yet, and for a file that is damaged, unreadable or was left behind by a Tavo that was killed:
    /// it counts only while the lock is held by the very process that it names. Never fails.
    ///
    /// Not for the process that holds the lock, see InstanceLock::holder().
    std::optional<WorkActivity> readOfRunningTavo() const noexcept;

private:
    TavoPaths paths;
};

} // namespace tavo
