#pragma once

#include "base/PowerStatus.h"

namespace tavo {

/// Reads the machine's power.
struct PowerEnvironmentProviding {
    virtual ~PowerEnvironmentProviding() = default;

    /// Asks the system anew at every call; nothing is cached. Never fails: what cannot be read is unknown or absent.
    virtual PowerStatus currentStatus() const = 0;
};

} // namespace tavo
