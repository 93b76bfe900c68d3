#pragma once

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "Support/ScriptedSleepSetting.h"
#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

constexpr ProcessIdentity tavoProcess{100, 5000};
constexpr ProcessIdentity controlProcess{200, 6000};

/// A keeper over a scripted setting, with two processes that live.
class Keeper : public testing::Test {
protected:
    void SetUp() override {
        processes->start(tavoProcess);
        processes->start(controlProcess);
        restart();
    }

    /// A new helper over what the last one has left.
    void restart() {
        keeper.reset();
        timers = std::make_shared<ManualHelperTimers>();
        keeper = std::make_unique<OverrideKeeper>(
            setting, journal,
            OverrideKeeper::Surroundings{.processes = processes,
                                         .timers = timers,
                                         .isLidClosed = [this] { return isLidClosed; },
                                         .log = [this](const std::string& line) { lines.push_back(line); },
                                         .onChange = [this] { ++changes; }});
    }

    void begin(const ProcessIdentity& owner, PMSetScope scope) { keeper->begin(owner, scope); }
    void beginFor(uid_t user, const ProcessIdentity& owner, PMSetScope scope) { keeper->begin(owner, scope, user); }
    void end(const ProcessIdentity& owner, PMSetScope scope) { keeper->end(owner, scope); }

    EventLog applied() { return std::exchange(setting->log, {}); }

    TemporaryDirectory folder;
    std::filesystem::path file = folder.path() / "overrides.json";
    SleepOverrideJournal journal{file};
    std::shared_ptr<ScriptedSleepSetting> setting = std::make_shared<ScriptedSleepSetting>();
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<ManualHelperTimers> timers;
    bool isLidClosed = false;
    std::vector<std::string> lines;
    int changes = 0;
    std::unique_ptr<OverrideKeeper> keeper;
};

} // namespace tavo
