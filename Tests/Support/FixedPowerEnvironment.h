#pragma once

#include "system/PowerEnvironmentProviding.h"

#include <exception>

namespace tavo {

/// A power source that changes when the test changes it.
class FixedPowerEnvironment final : public PowerEnvironmentProviding {
public:
    explicit FixedPowerEnvironment(PowerStatus status = {.source = CurrentPowerSource::ac}) : status(status) {}

    PowerStatus currentStatus() const override {
        if (failure) {
            std::rethrow_exception(failure);
        }
        return status;
    }

    PowerStatus status;

    /// Thrown by every reading while it is set.
    std::exception_ptr failure;
};

} // namespace tavo
