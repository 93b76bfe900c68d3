#pragma once

#include "TavoPrivilegedHelper/linux/LidSwitchManaging.h"
#include "helper/TimeBudget.h"
#include "system/linux/LogindClient.h"

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

namespace tavo {

/// logind, org.freedesktop.login1(5).
///
/// Readings share one connection, because a wait consists of hundreds of them. Another is opened when the bus has been
/// restarted in between. Whatever changes something has a connection of its own, so that it is never sent twice.
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

    template <typename Reading>
    auto read(Reading reading) const;

    std::shared_ptr<const TimeBudget> budget;
    mutable std::optional<LogindClient> readings;
};

} // namespace tavo
