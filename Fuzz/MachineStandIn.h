#pragma once

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "base/WakeControlError.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <utility>

namespace tavo {

/// The machine's sleep setting, which fails when it is told to.
class SettingStandIn final : public SleepSetting {
public:
    void apply(const std::set<PMSetScope>& scopes) override {
        if (const auto work = std::exchange(duringNextCall, nullptr)) {
            work();
        }
        if (fails) {
            throw WakeControlError::commandFailed("refused.");
        }
        inForce = scopes;
    }

    std::set<PMSetScope> inForce;
    bool fails = false;

    /// Runs once, while a call is being carried out.
    std::function<void()> duringNextCall;
};

/// The helper with all that is around it, and an account of the overrides that this process should have.
class MachineStandIn {
public:
    using Scopes = std::set<PMSetScope>;

    MachineStandIn(const std::filesystem::path& folder, const ProcessIdentity& caller);

    /// What a command of this process has done, by the helper's answer.
    void began(PMSetScope scope);
    void ended(PMSetScope scope);

    /// Things happen beside the commands.
    void endCaller();
    void letGraceRunOut();
    void turnLid() { isLidClosed = !isLidClosed; }
    void turnFailure();

    /// Ends the program when the helper, its journal and the setting do not agree with the account.
    void check();

    std::shared_ptr<SettingStandIn> setting = std::make_shared<SettingStandIn>();
    std::shared_ptr<HelperService> service;
    int expectedResets = 0;

private:
    ProcessIdentity caller;
    SleepOverrideJournal journal;
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<ManualHelperTimers> timers = std::make_shared<ManualHelperTimers>();
    std::shared_ptr<OverrideKeeper> keeper;
    bool isLidClosed = false;
    int resets = 0;

    Scopes begun;

    /// Ended with the lid closed, and in force for a moment more.
    Scopes ending;
};

} // namespace tavo
