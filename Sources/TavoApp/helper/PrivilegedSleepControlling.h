#pragma once

#include "helper/PMSetScope.h"

namespace tavo {

/// Switches system sleep off and on, which only root may do.
struct PrivilegedSleepControlling {
    virtual ~PrivilegedSleepControlling() = default;

    /// Whether there is a way to do it at all.
    virtual bool isAvailable() const = 0;

    /// May block for a round trip to another process. @throws WakeControlError and errors of the transport.
    virtual void setSleepDisabled(PMSetScope scope, bool disabled) = 0;
};

} // namespace tavo
