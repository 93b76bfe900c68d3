#pragma once

#include "base/FileDescriptor.h"
#include "helper/TimeBudget.h"
#include "system/linux/LogindClient.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tavo {

/// The actions of a closed lid, in the words of logind.conf(5): "suspend", "ignore" and so on.
struct LidSwitchActions {
    /// HandleLidSwitch.
    std::string onBattery;

    /// HandleLidSwitchExternalPower. Empty when it is not set: it follows `onBattery` then.
    std::string onExternalPower;

    /// The action on external power that is in effect.
    const std::string& effectiveOnExternalPower() const {
        return onExternalPower.empty() ? onBattery : onExternalPower;
    }

    bool operator==(const LidSwitchActions&) const = default;
};

/// The facts that decide, beside the actions, whether a closed lid ought to send the machine to sleep now.
struct LidSituation {
    bool isLidClosed = false;
    bool isOnExternalPower = false;

    /// In a docking station, or with another display.
    bool isDocked = false;

    /// HandleLidSwitchDocked, which follows nothing else.
    std::string actionWhenDocked;

    /// Whether somebody, a desktop as a rule, keeps the lid switch from logind.
    bool isLidHandledElsewhere = false;

    bool isSleepBlocked = false;
};

/// The system's handling of the lid switch.
struct LidSwitchManaging {
    virtual ~LidSwitchManaging() = default;

    /// The actions in force now. @throws DescribedError when it does not answer.
    virtual LidSwitchActions actions() const = 0;

    /// Has the configuration files read again, which happens a little later. Does nothing while logind does not run: it
    /// reads them when it starts. @throws DescribedError, std::system_error
    virtual void rereadConfiguration() const = 0;

    /// Refuses every request to sleep until the descriptor is closed. @throws DescribedError
    virtual FileDescriptor takeSleepLock() const = 0;

    /// @throws DescribedError
    virtual LidSituation situation() const = 0;

    /// Carries out an action that sends the machine to sleep; does nothing for any other. @throws DescribedError
    virtual void sleep(const std::string& action) const = 0;
};

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
