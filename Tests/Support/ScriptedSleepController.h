#pragma once

#include "Support/EventLog.h"
#include "base/WakeControlError.h"
#include "helper/PrivilegedSleepControlling.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// Records what is asked of it, and fails when the test says so.
class ScriptedSleepController final : public PrivilegedSleepControlling {
public:
    explicit ScriptedSleepController(std::shared_ptr<EventLog> log = std::make_shared<EventLog>())
        : log(std::move(log)) {}

    bool isAvailable() const override { return available; }

    void setSleepDisabled(PMSetScope scope, bool disabled) override {
        log->push_back(std::string(disabled ? "begin " : "end ") + std::string(rawValue(scope)));
        if (onCall) {
            onCall();
        }
        if (failure) {
            throw WakeControlError::commandFailed(*failure);
        }
    }

    std::shared_ptr<EventLog> log;
    bool available = true;

    /// Runs while a call is being carried out.
    std::function<void()> onCall;

    /// The message with which every call fails while it is set.
    std::optional<std::string> failure;
};

} // namespace tavo
