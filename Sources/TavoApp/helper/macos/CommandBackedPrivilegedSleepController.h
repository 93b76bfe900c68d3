#pragma once

#include "helper/PrivilegedSleepControlling.h"
#include "system/CommandRunning.h"

#include <memory>

namespace tavo {

/// Begins and ends overrides with `/usr/bin/pmset SCOPE disablesleep 1|0`, pmset(1). For a process that is root
/// already.
class CommandBackedPrivilegedSleepController final : public PrivilegedSleepControlling {
public:
    CommandBackedPrivilegedSleepController(std::shared_ptr<CommandRunning> runner, bool isAvailable)
        : runner(std::move(runner)), available(isAvailable) {}

    bool isAvailable() const override { return available; }

    /// Blocks until pmset exits. @throws WakeControlError, and the runner's error when pmset cannot be launched.
    void setSleepDisabled(PMSetScope scope, bool disabled) override;

private:
    std::shared_ptr<CommandRunning> runner;
    bool available;
};

} // namespace tavo
