#pragma once

#include "Support/EventLog.h"
#include "TavoPrivilegedHelper/SleepSetting.h"
#include "base/WakeControlError.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace tavo {

/// Records the scopes that it is told to apply, as in "apply ac battery", and fails when the test says so.
class ScriptedSleepSetting final : public SleepSetting {
public:
    void apply(const std::set<PMSetScope>& scopes) override {
        std::string line = "apply";
        for (const auto scope : scopes) {
            line += " " + std::string(rawValue(scope));
        }
        log.push_back(scopes.empty() ? "apply none" : line);
        if (onCall) {
            onCall();
        }
        if (failure || (unavailable && scopes.contains(*unavailable))) {
            throw WakeControlError::commandFailed(failure.value_or("refused."));
        }
    }

    EventLog log;

    /// Runs while a call is being carried out.
    std::function<void()> onCall;

    /// The message with which every call fails while it is set.
    std::optional<std::string> failure;

    /// A scope that cannot be had.
    std::optional<PMSetScope> unavailable;
};

} // namespace tavo
