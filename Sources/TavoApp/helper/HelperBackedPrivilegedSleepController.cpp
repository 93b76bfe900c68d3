#include "helper/HelperBackedPrivilegedSleepController.h"

#include "base/WakeControlError.h"

namespace tavo {

void HelperBackedPrivilegedSleepController::setSleepDisabled(PMSetScope scope, bool disabled) {
    if (!available) {
        throw WakeControlError::closedLidRequiresPrivilege();
    }
    const auto response = client->send(PrivilegedHelperCommand::setSleepDisabled(scope, disabled));
    // A pong counts as success on purpose: the helper was reached, and it reported no failure.
    if (const auto* error = std::get_if<PrivilegedHelperResponse::Error>(&response.value)) {
        throw WakeControlError::commandFailed(error->message);
    }
}

} // namespace tavo
