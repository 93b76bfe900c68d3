#pragma once

#include "helper/PrivilegedSleepControlling.h"

#include <memory>
#include <set>
#include <utility>

namespace tavo {

/// Serves scopes with a setting that the machine has only one of: it is switched back on with the last scope, since
/// switching on any of them switches on all.
class MachineWideSleepController final : public PrivilegedSleepControlling {
public:
    explicit MachineWideSleepController(std::shared_ptr<PrivilegedSleepControlling> setting)
        : setting(std::move(setting)) {}

    bool isAvailable() const override { return setting->isAvailable(); }

    void setSleepDisabled(PMSetScope scope, bool disabled) override {
        if (disabled) {
            setting->setSleepDisabled(scope, true);
            scopes.insert(scope);
            return;
        }
        // A scope that was never seen here may be what an earlier life has left.
        if (scopes.empty() || (scopes.size() == 1 && scopes.contains(scope))) {
            setting->setSleepDisabled(scope, false);
        }
        scopes.erase(scope);
    }

private:
    std::shared_ptr<PrivilegedSleepControlling> setting;
    std::set<PMSetScope> scopes;
};

} // namespace tavo
