#include "TavoControl/HeadlessCommand.h"

#include "Support/ScriptedHeadlessLaunch.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/LockHolder.h"

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class HeadlessCommandTest : public CommandTest {
protected:
    HeadlessCommandTest() {
        platform.headlessLaunch = launch;
        platform.programPath = "/opt/tavo/bin/tavoctl";
    }

    ExitStatus switchTo(bool isOn) {
        auto status = ExitStatus::failure;
        ::testing::internal::CaptureStderr();
        try {
            output = printed([&] { status = switchHeadlessRun({.isOn = isOn}, *store, platform); });
        } catch (...) {
            ::testing::internal::GetCapturedStderr();
            throw;
        }
        errors = ::testing::internal::GetCapturedStderr();
        return status;
    }

    void save(const std::function<void(AppConfig&)>& change) const {
        auto config = AppConfig::defaultConfig();
        config.isEnabled = true;
        change(config);
        store->saveConfig(config);
    }

    std::shared_ptr<ScriptedHeadlessLaunch> launch = std::make_shared<ScriptedHeadlessLaunch>();
    std::string output;
    std::string errors;
};

TEST_F(HeadlessCommandTest, TheServiceRunsThisVeryProgram) {
    save([](AppConfig&) {});
    EXPECT_EQ(switchTo(true), ExitStatus::success);
    EXPECT_EQ(launch->program, "/opt/tavo/bin/tavoctl");
    EXPECT_THAT(output, StartsWith("tavo.service is enabled and started.\n"));
    EXPECT_THAT(output, HasSubstr("the options in " + (folder.path() / "run.conf").string()));
    EXPECT_THAT(output, Not(HasSubstr("XDG_CONFIG_HOME")));
    EXPECT_THAT(output, Not(HasSubstr("switched off")));
    EXPECT_EQ(errors, "");
}

TEST_F(HeadlessCommandTest, SwitchingOffStopsIt) {
    launch->program = "/opt/tavo/bin/tavoctl";
    EXPECT_EQ(switchTo(false), ExitStatus::success);
    EXPECT_FALSE(launch->isEnabled());
    EXPECT_EQ(output, "tavo.service is stopped and disabled.\n");
    EXPECT_EQ(switchTo(false), ExitStatus::success);
    EXPECT_EQ(output, "nothing to change.\n");
}

TEST_F(HeadlessCommandTest, WhatItCouldNotRunWithChangesNothing) {
    folder.write("run.conf", "preset nonsense\n");
    EXPECT_THROW(switchTo(true), ConfigurationError);
    EXPECT_FALSE(launch->isEnabled());
    EXPECT_EQ(fileContent(folder.path() / "run.conf"), "preset nonsense\n");
    std::filesystem::remove(folder.path() / "run.conf");
    folder.write("config.json", "nonsense");
    EXPECT_THROW(switchTo(true), ConfigurationError);
    EXPECT_FALSE(launch->isEnabled());
}

TEST_F(HeadlessCommandTest, ADamagedFileIsNoObstacleToSwitchingOff) {
    folder.write("run.conf", "preset nonsense\n");
    launch->program = "/opt/tavo/bin/tavoctl";
    EXPECT_EQ(switchTo(false), ExitStatus::success);
    EXPECT_FALSE(launch->isEnabled());
}

TEST_F(HeadlessCommandTest, WhoSwitchesItOnIsToldHowItOutlastsTheLogout) {
    launch->advice = "loginctl enable-linger keeps it.";
    switchTo(true);
    EXPECT_THAT(output, HasSubstr("loginctl enable-linger keeps it.\n"));
}

TEST_F(HeadlessCommandTest, ASwitchThatIsOffIsSaidUnlessTheOptionsNameATrigger) {
    save([](AppConfig& config) { config.isEnabled = false; });
    switchTo(true);
    EXPECT_THAT(output, HasSubstr("keeping awake is switched off"));
    folder.write("run.conf", "preset codex\n");
    switchTo(true);
    EXPECT_THAT(output, Not(HasSubstr("switched off")));
}

TEST_F(HeadlessCommandTest, AServiceThatReadsOtherFilesIsJudgedByThem) {
    const auto theirs = folder.path() / "theirs";
    launch->otherPaths = TavoPaths{theirs};
    folder.write("run.conf", "preset nonsense\n");
    EXPECT_EQ(switchTo(true), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("the options in " + (theirs / "run.conf").string()));
    EXPECT_THAT(output, HasSubstr("that is not " + folder.path().string() +
                                  ", the folder of this shell, since your service manager was given another "
                                  "XDG_CONFIG_HOME or HOME; environment.d(5) "));
    launch->program.reset();
    std::filesystem::remove(folder.path() / "run.conf");
    folder.write("theirs/run.conf", "preset nonsense\n");
    EXPECT_THROW(switchTo(true), ConfigurationError);
    EXPECT_FALSE(launch->isEnabled());
}

TEST_F(HeadlessCommandTest, WhereNothingCouldStartItThatIsSaid) {
    platform.headlessLaunch = nullptr;
    for (const bool isOn : {true, false}) {
        try {
            switchTo(isOn);
            ADD_FAILURE() << "no refusal";
        } catch (const HeadlessLaunchError& error) {
            EXPECT_THAT(error.description(), HasSubstr("have a service manager start tavoctl run --service."));
        }
    }
}

TEST_F(HeadlessCommandTest, TheDesktopAppAtLoginIsSaidToBeInTheWay) {
    save([](AppConfig& config) { config.launchAtLoginEnabled = true; });
    switchTo(true);
    EXPECT_THAT(output, HasSubstr("only one tavo runs for a user: the one that comes second does not start; tavoctl "
                                  "login off leaves the computer to tavo.service.\n"));
}

TEST_F(HeadlessCommandTest, AnotherTavoThatRunsIsNamed) {
    const LockHolder other(store->paths().lockURL());
    launch->start.failedWith = 75;
    EXPECT_EQ(switchTo(true), ExitStatus::alreadyRunning);
    EXPECT_THAT(errors, HasSubstr("is enabled, but not started, since another tavo is running (process id " +
                                  std::to_string(other.pid()) + ")"));
    EXPECT_THAT(output, Not(HasSubstr("started.")));
}

TEST_F(HeadlessCommandTest, AStartThatFailedHasItsStatusAndSaysWhereToLook) {
    for (const auto& [status, outcome] :
         {std::pair{69, ExitStatus::systemUnavailable}, std::pair{64, ExitStatus::wrongUsage},
          std::pair{78, ExitStatus::invalidConfiguration}, std::pair{1, ExitStatus::failure},
          std::pair{203, ExitStatus::failure}}) {
        launch->start.failedWith = status;
        EXPECT_EQ(switchTo(true), outcome);
        EXPECT_THAT(errors, HasSubstr("ended at once with the exit status " + std::to_string(status) +
                                      "; the log says why.\n"));
    }
}

TEST_F(HeadlessCommandTest, WhoeverSwitchesTheAppIsRemindedOfTheService) {
    EXPECT_EQ(headlessRunNote(true, platform), std::nullopt);
    EXPECT_EQ(headlessRunNote(false, Platform()), std::nullopt);
    launch->program = "/opt/tavo/bin/tavoctl";
    EXPECT_THAT(headlessRunNote(true, platform).value(), HasSubstr("only one tavo runs for a user"));
    EXPECT_EQ(headlessRunNote(false, platform),
              "tavo.service is still started at login; tavoctl login off --headless ends that.");
}

} // namespace
} // namespace tavo
