#pragma once

#include "TavoPrivilegedHelper/linux/LidSwitchManaging.h"
#include "helper/TimeBudget.h"

#include <chrono>
#include <memory>
#include <utility>

namespace tavo {

/// logind, org.freedesktop.login1(5). Every call opens a connection of its own: the bus may have been restarted between two.
class LogindLidSwitch final : public LidSwitchManaging {
public:
    /// @param budget  bounds its calls further, where there is one.
    explicit LogindLidSwitch(std::shared_ptr<const TimeBudget> budget = {}) : budget(std::move(budget)) {}

    LidSwitchActions actions() const override;
    void rereadConfiguration() const override;
    FileDescriptor takeSleepLock() const override;
    LidSituation situation() const override;
    void sleep(const std::string& action) const override;

private:
    std::chrono::milliseconds bound() const;

    std::shared_ptr<const TimeBudget> budget;
};

} // namespace tavo
