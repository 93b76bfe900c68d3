#pragma once

#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"
#include "base/FileDescriptor.h"
#include "helper/PrivilegedSleepControlling.h"
#include "helper/TimeBudget.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tavo {

/// Keeps a closed lid from sending the machine to sleep, for the power sources that are asked for.
///
/// While a scope is switched off, a drop-in of logind.conf(5) has logind ignore the lid there, and a lock refuses what
/// desktops that handle the lid themselves ask for. Several scopes are united. The drop-in lies where it is gone after a
/// restart of the machine, is named to come last, and remembers what was in force before it.
class LogindSleepController final : public PrivilegedSleepControlling {
public:
    using Pause = std::function<void(std::chrono::milliseconds)>;
    using Log = std::function<void(const std::string&)>;

    /// @param pause  waits between two looks at logind; the calling thread does by default.
    /// @param log    gets a line for what fails where nobody waits for it.
    /// @param budget  bounds the waits for logind's confirmation further, where there is one.
    LogindSleepController(std::shared_ptr<const LidSwitchManaging> logind, std::filesystem::path dropInFolder, Log log,
                          Pause pause = {}, std::shared_ptr<const TimeBudget> budget = {});

    bool isAvailable() const override { return true; }

    /// Returns when logind confirms the change, within 2 seconds or what is left of the budget. When the last scope is switched on again with the lid
    /// closed and nobody left who would act on that, the machine is asked to sleep.
    /// @throws WakeControlError when logind does not confirm, with what it reports instead; DescribedError and
    /// std::system_error when it cannot be asked or told. Everything is then as it was before the call.
    void setSleepDisabled(PMSetScope scope, bool disabled) override;

    /// Whether an earlier process has left its drop-in.
    bool hasLeftover() const;

private:
    using Scopes = std::set<PMSetScope>;

    void enforce(const Scopes& wanted);
    void release();
    void install(const Scopes& wanted);
    void restore(const std::optional<std::string>& content);
    LidSwitchActions override(const Scopes& wanted) const;
    std::string dropInContent(const Scopes& wanted) const;
    std::optional<LidSwitchActions> rememberedActions() const;
    bool waitFor(const LidSwitchActions& expected) const;
    void sleepIfNobodyElseWould() const;

    std::shared_ptr<const LidSwitchManaging> logind;
    std::filesystem::path dropIn;
    Log log;
    Pause pause;
    std::shared_ptr<const TimeBudget> budget;
    Scopes scopes;

    /// What was in force before the first scope; there while something is.
    std::optional<LidSwitchActions> before;
    FileDescriptor sleepLock;

    /// The drop-in has gone, and logind may not know yet.
    bool isRereadOwed = false;
};

} // namespace tavo
