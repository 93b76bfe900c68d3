#pragma once

#include "helper/PrivilegedSleepControlling.h"

#include <set>

namespace tavo {

/// The machine's one setting that keeps a closed lid from sending it to sleep.
struct SleepSetting {
    virtual ~SleepSetting() = default;

    /// Brings overrides into force for exactly these scopes, in one step: a scope that was in force before and stays is
    /// so all the while. Without any scope the machine goes to sleep again as it did before the first.
    /// @throws WakeControlError, DescribedError and std::system_error. The setting is then as it was before, as far as
    /// it could be restored.
    virtual void apply(const std::set<PMSetScope>& scopes) = 0;
};

} // namespace tavo
