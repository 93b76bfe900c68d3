#include "TavoControl/ExecCommand.h"

#include "Support/ScriptedSurroundings.h"
#include "Support/WaitUntil.h"
#include "TavoControl/ExitStatus.h"
#include "base/WakeControlError.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ExecCommand : public testing::Test {
protected:
    int run(std::vector<std::string> words) {
        auto platform = world.platform();
        platform.assertionRunner = nullptr; // that of the one Tavo of this user
        platform.tiedAssertionRunner = world.runner;
        platform.endOrphanedAssertion = [] { ADD_FAILURE() << "that is for the one Tavo of this user"; };
        ::testing::internal::CaptureStderr();
        auto options = ExecOptions{.overrides = overrides, .bound = bound, .words = std::move(words)};
        options.overrides.trigger = defaultRule(TriggerPreset::always);
        const int status = runCommandAwake(options, world.store, platform, InheritedConditions::capture());
        said = ::testing::internal::GetCapturedStderr();
        return status;
    }

    /// Runs a command that lasts until `steps`, on a thread of its own, are done.
    template <typename Steps>
    int runDuring(Steps steps) {
        const auto begun = world.folder.path() / "begun";
        const auto done = world.folder.path() / "done";
        std::thread other([&] {
            EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(begun); }));
            steps();
            world.folder.write("done", "");
        });
        const int status = run({"/bin/sh", "-c",
                                fmt::format("touch '{}'; until test -e '{}'; do sleep 0.01; done; exit 5",
                                            begun.string(), done.string())});
        other.join();
        return status;
    }

    void setPower(const PowerStatus& status) {
        world.power->status = status;
        world.powerChanges->tell();
    }

    ScriptedSurroundings world;
    RunOverrides overrides;
    RunBound bound;
    std::string said;
};

TEST_F(ExecCommand, HoldsTheLockWhileTheCommandRunsAndGivesItsStatus) {
    EXPECT_EQ(run({"/bin/sh", "-c", "exit 7"}), 7);
    EXPECT_THAT(*world.runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_EQ(said, "");
    EXPECT_EQ(run({"/bin/sh", "-c", "kill -KILL $$"}), 128 + SIGKILL);
}

TEST_F(ExecCommand, ACommandThatCannotBeStartedLeavesNothingHeld) {
    EXPECT_EQ(run({"tavo-no-such-command"}), 127);
    EXPECT_EQ(said, "tavoctl: tavo-no-such-command: command not found\n");
    EXPECT_EQ(run({"/"}), 126);
    EXPECT_EQ(said, "tavoctl: /: Permission denied\n");
    EXPECT_EQ(world.runner->log->back(), "stop");
}

TEST_F(ExecCommand, KeepsNoFilesAndTakesNoInstanceLock) {
    EXPECT_EQ(run({"true"}), 0);
    EXPECT_FALSE(std::filesystem::exists(world.store->paths().configURL()));
    EXPECT_FALSE(std::filesystem::exists(world.store->paths().stateURL()));
    EXPECT_FALSE(std::filesystem::exists(world.store->paths().lockURL()));
}

TEST_F(ExecCommand, IsOnThoughTheConfigurationIsOff) {
    auto config = AppConfig::defaultConfig();
    config.isEnabled = false;
    world.store->saveConfig(config);
    EXPECT_EQ(run({"true"}), 0);
    EXPECT_THAT(*world.runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
}

TEST_F(ExecCommand, ARefusedLockAtTheStartRunsNothing) {
    world.runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("logind does not run."));
    const auto note = world.folder.path() / "note";
    EXPECT_EQ(run({"touch", note.string()}), 69);
    EXPECT_FALSE(std::filesystem::exists(note));
    EXPECT_THAT(said, HasSubstr("logind does not run."));
}

TEST_F(ExecCommand, ADamagedConfigurationRunsNothing) {
    world.folder.write("config.json", "{");
    EXPECT_THROW(run({"true"}), ConfigurationError);
    ::testing::internal::GetCapturedStderr();
}

TEST_F(ExecCommand, APolicyThatForbidsLetsTheCommandRunWithoutALock) {
    overrides.powerSourcePolicy = PowerSourcePolicy::acOnly;
    world.power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 80};
    EXPECT_EQ(run({"/bin/sh", "-c", "exit 4"}), 4);
    EXPECT_THAT(*world.runner->log, IsEmpty());
    EXPECT_THAT(said, HasSubstr("tavoctl: /bin/sh runs, but this computer is not kept awake: "));
}

TEST_F(ExecCommand, TheLockComesAndGoesWithThePolicyAndEachLossIsSaidOnce) {
    overrides.powerSourcePolicy = PowerSourcePolicy::acOnly;
    const auto count = [this] { return world.runner->log->size(); };
    EXPECT_EQ(runDuring([&] {
                  for (const int percent : {60, 59, 58}) {
                      setPower({.source = CurrentPowerSource::battery, .batteryPercent = percent});
                  }
                  EXPECT_TRUE(waitUntil([&] { return count() == 2; }));
                  setPower({.source = CurrentPowerSource::ac});
                  EXPECT_TRUE(waitUntil([&] { return count() == 3; }));
              }),
              5);
    EXPECT_THAT(*world.runner->log,
                ElementsAre("start /usr/bin/caffeinate -i -s", "stop", "start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_EQ(said.find("is not kept awake"), said.rfind("is not kept awake")) << said;
    EXPECT_THAT(said, HasSubstr("is not kept awake"));
}

TEST_F(ExecCommand, ALockThatIsRefusedLaterIsSaidAndTheCommandRunsOn) {
    EXPECT_EQ(runDuring([&] {
                  world.runner->failure =
                      std::make_exception_ptr(WakeControlError::systemUnavailable("logind has gone."));
                  setPower({.source = CurrentPowerSource::battery, .batteryPercent = 80});
                  EXPECT_TRUE(waitUntil([&] { return world.runner->commands.size() == 2; }));
              }),
              5);
    EXPECT_EQ(said, "tavoctl: logind has gone.\n");
}

TEST_F(ExecCommand, WhenTheTimeIsUpTheCommandRunsOnAndNothingTakesTheLockAgain) {
    bound.length = std::chrono::seconds{1};
    EXPECT_EQ(runDuring([&] {
                  EXPECT_TRUE(waitUntil([&] { return world.runner->log->size() == 2; }));
                  setPower({.source = CurrentPowerSource::battery, .batteryPercent = 80});
              }),
              5);
    EXPECT_THAT(*world.runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_EQ(said, "tavoctl: the 1s are over: this computer is no longer kept awake; /bin/sh runs on.\n");
    EXPECT_THAT(fileContent(world.store->paths().historyURL()), HasSubstr("\"why\":\"the 1s are over\""));
}

TEST_F(ExecCommand, TheHistoryNamesTheCommandAndNotItsArguments) {
    EXPECT_EQ(run({"/bin/sh", "-c", "true # secret"}), 0);
    const auto history = fileContent(world.store->paths().historyURL());
    EXPECT_THAT(history, HasSubstr("\"sh\""));
    EXPECT_THAT(history, ::testing::Not(HasSubstr("secret")));
}

TEST_F(ExecCommand, SignalsThatAProcessSendsReachTheCommand) {
    const auto ready = world.folder.path() / "ready";
    std::thread other([&] {
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(ready); }));
        kill(getpid(), SIGTERM);
    });
    EXPECT_EQ(run({"/bin/sh", "-c",
                   fmt::format("trap 'exit 23' TERM; touch '{}'; while :; do sleep 0.01; done", ready.string())}),
              23);
    other.join();
}

} // namespace
} // namespace tavo
