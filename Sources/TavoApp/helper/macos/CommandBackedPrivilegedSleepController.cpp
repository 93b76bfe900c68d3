#include "helper/macos/CommandBackedPrivilegedSleepController.h"

#include "base/WakeControlError.h"

#include <fmt/format.h>

namespace tavo {

void CommandBackedPrivilegedSleepController::setSleepDisabled(PMSetScope scope, bool disabled) {
    if (!available) {
        throw WakeControlError::closedLidRequiresPrivilege();
    }
    const auto result = runner->run({.executableURL = "/usr/bin/pmset",
                                     .arguments = {std::string(pmsetFlag(scope)), "disablesleep", disabled ? "1" : "0"},
                                     .requiresPrivilege = true});
    if (result.exitCode != 0) {
        throw WakeControlError::commandFailed(
            result.standardError.empty() ? fmt::format("pmset returned {}.", result.exitCode) : result.standardError);
    }
}

} // namespace tavo
