#pragma once

#include "helper/PrivilegedHelperClient.h"
#include "helper/PrivilegedSleepControlling.h"

#include <memory>

namespace tavo {

/// Has the privileged helper begin and end overrides.
class HelperBackedPrivilegedSleepController final : public PrivilegedSleepControlling {
public:
    HelperBackedPrivilegedSleepController(std::shared_ptr<PrivilegedHelperClient> client, bool isAvailable)
        : client(std::move(client)), available(isAvailable) {}

    bool isAvailable() const override { return available; }

    /// Blocks for the client's round trip. @throws WakeControlError with the helper's message, and the client's errors.
    void setSleepDisabled(PMSetScope scope, bool disabled) override;

private:
    std::shared_ptr<PrivilegedHelperClient> client;
    bool available;
};

} // namespace tavo
