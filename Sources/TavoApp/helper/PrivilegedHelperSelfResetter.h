#pragma once

#include "helper/HelperServiceSetup.h"
#include "system/CommandRunning.h"

#include <cstdint>
#include <memory>

namespace tavo {

/// Removes the helper from inside the helper. It cannot end its own service while it still owes an answer, so the removal
/// is left to a process that sleeps first.
class PrivilegedHelperSelfResetter {
public:
    /// @param uninstallDelaySeconds  longer than the answer takes.
    PrivilegedHelperSelfResetter(std::shared_ptr<CommandRunning> runner,
                                 std::shared_ptr<const HelperServiceSetup> setup, std::int64_t uninstallDelaySeconds)
        : runner(std::move(runner)), setup(std::move(setup)), uninstallDelaySeconds(uninstallDelaySeconds) {}

    /// Returns as soon as the removal is under way; how it goes on is not reported.
    /// @throws PrivilegedHelperInstallerError, and the runner's error, when it could not be started.
    void requestReset() const;

private:
    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<const HelperServiceSetup> setup;
    std::int64_t uninstallDelaySeconds;
};

} // namespace tavo
