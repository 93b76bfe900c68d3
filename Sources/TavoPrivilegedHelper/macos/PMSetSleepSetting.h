#pragma once

#include "TavoPrivilegedHelper/SleepSetting.h"

#include <memory>
#include <utility>

namespace tavo {

/// A Mac's setting, pmset(1), "disablesleep". The machine has only one of it: a change for any scope changes it for
/// all, so it is written once for the scopes together.
class PMSetSleepSetting final : public SleepSetting {
public:
    /// @param controller  writes the setting.
    explicit PMSetSleepSetting(std::shared_ptr<PrivilegedSleepControlling> controller)
        : controller(std::move(controller)) {}

    void apply(const std::set<PMSetScope>& scopes) override {
        // The option that covers all of them; every one of them when the setting ends.
        const auto scope = scopes.size() == 1 ? *scopes.begin() : PMSetScope::all;
        controller->setSleepDisabled(scope, !scopes.empty());
    }

private:
    std::shared_ptr<PrivilegedSleepControlling> controller;
};

} // namespace tavo
