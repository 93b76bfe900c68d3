#pragma once

#include "TavoPrivilegedHelper/SleepSetting.h"
#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"
#include "base/FileDescriptor.h"
#include "helper/TimeBudget.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tavo {

/// Keeps a closed lid from sending the machine to sleep, by a drop-in of logind.conf(5) and a lock.
///
/// While there is a scope, the drop-in has logind ignore the lid on its power sources, and the lock refuses the
/// requests of desktops that handle the lid themselves. The drop-in lies where it is gone after a restart of the
/// machine, is named to come last, and remembers the actions that were in force before it.
class LogindSleepSetting final : public SleepSetting {
public:
    using Pause = std::function<void(std::chrono::milliseconds)>;
    using Log = std::function<void(const std::string&)>;

    /// @param pause   waits between two questions to logind; the calling thread does by default.
    /// @param log     gets a line for every failure that nobody waits for.
    /// @param budget  bounds the waits for logind's confirmation further, where there is one.
    LogindSleepSetting(std::shared_ptr<const LidSwitchManaging> logind, std::filesystem::path dropInFolder, Log log,
                       Pause pause = {}, std::shared_ptr<const TimeBudget> budget = {});

    /// Returns when logind confirms the change, within 2 seconds or the rest of the budget. When the last scope ends
    /// with the lid closed and nobody left who would act on that, the machine is asked to sleep.
    /// @throws WakeControlError when logind does not confirm, with the actions that it reports instead; DescribedError
    /// and std::system_error when it does not answer.
    void apply(const std::set<PMSetScope>& scopes) override;

    /// Whether an earlier process has left its drop-in.
    bool hasLeftover() const;

private:
    using Scopes = std::set<PMSetScope>;

    void enforce(const Scopes& scopes);
    void end();
    void install(const Scopes& scopes);
    void restore(const std::optional<std::string>& content);
    LidSwitchActions actionsDuring(const Scopes& scopes) const;
    std::string dropInContent(const Scopes& scopes) const;
    std::optional<LidSwitchActions> rememberedActions() const;
    bool waitFor(const LidSwitchActions& expected) const;
    void sleepIfNobodyElseWould() const;

    std::shared_ptr<const LidSwitchManaging> logind;
    std::filesystem::path dropIn;
    Log log;
    Pause pause;
    std::shared_ptr<const TimeBudget> budget;

    /// The actions from before the first scope; present while there is a scope.
    std::optional<LidSwitchActions> before;
    FileDescriptor sleepLock;

    /// The drop-in has gone, and logind may not know yet.
    bool isRereadOwed = false;
};

} // namespace tavo
