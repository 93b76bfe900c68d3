#pragma once

#include "system/PowerEnvironmentProviding.h"

namespace tavo {

/// A power source that changes when the test changes it.
class FixedPowerEnvironment final : public PowerEnvironmentProviding {
public:
    explicit FixedPowerEnvironment(PowerStatus status = {.source = CurrentPowerSource::ac}) : status(status) {}

    PowerStatus currentStatus() const override { return status; }

    PowerStatus status;
};

} // namespace tavo
