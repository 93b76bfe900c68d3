#pragma once

#include "system/ProcessSnapshot.h"

#include <cstdint>
#include <memory>

namespace tavo {

/// Keeps Tavo from watching itself: its own command line names the watched program ("tavoctl run --command codex").
///
/// The name and command line of Tavo's own processes are blanked, so that no rule matches them. So are those of the
/// wrappers directly above that merely carry the same words: a shell, sudo, watch or a terminal whose own command line
/// names the program. The walk up stops at the first ancestor that is no wrapper: a coding agent that runs tavoctl
/// still counts, and so does everything else that was started from the same shell. A wrapper that does not name the
/// program (an interactive shell) is passed over and left as it is. Blanked too are the tools that Tavo's own processes
/// run: ps, which is in the table that it prints, and caffeinate. Those of everybody else count.
///
/// Every process keeps its place, id, parent and time, so that process trees stay whole.
class OwnProgramFilter final : public ProcessSnapshotProviding {
public:
    /// @param ownPID  the calling process, which is Tavo's under any name.
    OwnProgramFilter(std::shared_ptr<ProcessSnapshotProviding> provider, std::int32_t ownPID);

    /// @throws what the decorated provider throws.
    ProcessSnapshot snapshot(TimePoint at) override;

private:
    std::shared_ptr<ProcessSnapshotProviding> provider;
    std::int32_t ownPID;
};

} // namespace tavo
