#include "TavoControl/HelperCommand.h"

#include "Support/DescribedJson.h"
#include "Support/StandInPrompt.h"
#include "Support/WaitUntil.h"
#include "TavoControl/HelperCommandFixture.h"
#include "Version.h"
#include "base/JsonCoding.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Action = HelperCommandOptions::Action;

TEST_F(HelperCommandTest, StatusOfNoneNamesTheCommandThatInstallsIt) {
    EXPECT_EQ(carryOut(Action::status), ExitStatus::success);
    EXPECT_THAT(
        linesOf(output),
        ElementsAre("helper       not installed; tavoctl helper install grants staying awake with the lid closed",
                    "this build   " + std::string(tavoVersion), "override     none"));
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(HelperCommandTest, StatusTellsVersionComparisonAndOverrides) {
    installFiles();
    runner->results = {{.standardOutput = "TavoPrivilegedHelper 0.0.9"}};
    SleepOverrideRecord record;
    record.overrides = {{{42, 7}, {PMSetScope::ac, PMSetScope::battery}}};
    SleepOverrideJournal(setup->overrideJournal()).save(record);
    EXPECT_EQ(carryOut(Action::status), ExitStatus::success);
    EXPECT_THAT(linesOf(output), ElementsAre("helper       ready", "this build   " + std::string(tavoVersion),
                                             "installed    0.0.9, the same file as this build's",
                                             "override     ac, battery for process 42"));
    EXPECT_EQ(runner->commands.at(0).arguments, std::vector<std::string>{"--version"});
}

TEST_F(HelperCommandTest, StatusTellsOfAServiceDefinitionThatIsNotThisBuilds) {
    installFiles();
    folder.write("system/service", "another program");
    carryOut(Action::status);
    EXPECT_THAT(output, HasSubstr("service      " + setup->serviceDefinition().string() +
                                  " is another file than this build's, and may start another program; tavoctl helper "
                                  "install replaces it\n"));
    carryOut(Action::status, true);
    EXPECT_EQ(describedJson("helper-status", output).at("matchesThisBuild"), false) << "though the program does";
}

TEST_F(HelperCommandTest, StatusAsJson) {
    installFiles("another");
    runner->results = {{.exitCode = 1}};
    SleepOverrideRecord record;
    record.overrides = {{{42, 7}, {PMSetScope::all}}};
    SleepOverrideJournal(setup->overrideJournal()).save(record);
    client->otherwise = PrivilegedHelperResponse::ok();
    carryOut(Action::status, true);
    EXPECT_EQ(
        describedJson("helper-status", output),
        Json::parse(
            R"json({"state": "installedUnreachable", "packaged": false, "servedUser": null, "buildVersion": ")json" +
            std::string(tavoVersion) +
            R"json(", "installedVersion": null, "matchesThisBuild": false,
                                             "overrides": [{"pid": 42, "scopes": ["all"]}], "overridesError": null})json"));
}

TEST_F(HelperCommandTest, AJournalThatCannotBeReadIsSaid) {
    folder.write("system/overrides.json", "{");
    carryOut(Action::status);
    EXPECT_THAT(linesOf(output).back(), ::testing::StartsWith("override     "));
    EXPECT_THAT(output, ::testing::Not(HasSubstr("none")));
}

TEST_F(HelperCommandTest, InstallGrantsThePermission) {
    installFiles();
    EXPECT_EQ(carryOut(Action::install), ExitStatus::success);
    ASSERT_EQ(administrator->commands.size(), 1U);
    EXPECT_TRUE(administrator->commands[0].requiresPrivilege);
    EXPECT_EQ(administrator->commands[0].arguments.back(), "install " + source->string());
    EXPECT_TRUE(isGranted());
    EXPECT_THAT(output, HasSubstr("may now keep awake with the lid closed"));
}

TEST_F(HelperCommandTest, ARefusedInstallationGrantsNothing) {
    administrator->results = {{.exitCode = 126, .standardError = "the approval was not given."}};
    EXPECT_THROW(carryOut(Action::install), PrivilegedHelperInstallerError);
    EXPECT_FALSE(isGranted());
}

TEST_F(HelperCommandTest, WithoutAHelperInTheBuildThereIsNothingToInstall) {
    source.reset();
    EXPECT_EQ(carryOut(Action::install), ExitStatus::failure);
    EXPECT_THAT(errors, HasSubstr("could not find the tavo helper executable in this build"));
    EXPECT_THAT(administrator->commands, IsEmpty());
}

TEST_F(HelperCommandTest, AHelperThatNeverAnswersIsWaitedForAndReported) {
    client->otherwise = PrivilegedHelperResponse::ok();
    EXPECT_THROW(carryOut(Action::install), PrivilegedHelperInstallerError);
    EXPECT_EQ(client->commands.size(), 50U);
    EXPECT_EQ(pauses, 49);
}

TEST_F(HelperCommandTest, UninstallRevokesThePermission) {
    installFiles();
    grant();
    administrator->results = {{}};
    removeFiles();
    folder.write("system/service", "definition");
    EXPECT_EQ(carryOut(Action::uninstall), ExitStatus::failure) << "a file is still there";
    EXPECT_EQ(administrator->commands.at(0).arguments.back(), "uninstall");
    EXPECT_FALSE(isGranted());
    EXPECT_THAT(errors, HasSubstr("still there"));
}

TEST_F(HelperCommandTest, UninstallingNoneAsksNobody) {
    grant();
    EXPECT_EQ(carryOut(Action::uninstall), ExitStatus::success);
    EXPECT_THAT(administrator->commands, IsEmpty());
    EXPECT_FALSE(isGranted());
}

TEST_F(HelperCommandTest, ResetHasTheHelperRemoveItself) {
    installFiles();
    grant();
    client->answers = {PrivilegedHelperResponse::pong(), PrivilegedHelperResponse::ok()};
    onPause = [this] {
        if (pauses == 10) {
            removeFiles();
        }
    };
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::success);
    EXPECT_EQ(client->commands.back(), PrivilegedHelperCommand::resetSupport());
    EXPECT_EQ(pauses, 10);
    EXPECT_THAT(administrator->commands, IsEmpty());
    EXPECT_FALSE(isGranted());
}

TEST_F(HelperCommandTest, AResetThatDoesNotFinishIsReported) {
    installFiles();
    grant();
    client->answers = {PrivilegedHelperResponse::pong(), PrivilegedHelperResponse::ok()};
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::failure);
    EXPECT_EQ(pauses, 24);
    EXPECT_THAT(errors, HasSubstr("closed-lid support could not be fully reset"));
    EXPECT_FALSE(isGranted());
}

TEST_F(HelperCommandTest, AResetThatTheHelperRefusesIsItsError) {
    installFiles();
    grant();
    client->answers = {PrivilegedHelperResponse::pong(), PrivilegedHelperResponse::error("no shell.")};
    EXPECT_THROW(carryOut(Action::reset), PrivilegedHelperInstallerError);
    EXPECT_TRUE(isGranted());
}

TEST_F(HelperCommandTest, OnlyTheHelperOfThisBuildIsTrustedToRemoveItself) {
    installFiles("progran");
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::failure);
    EXPECT_THAT(errors, HasSubstr("tavoctl helper uninstall"));
    EXPECT_THAT(client->commands, ElementsAre(PrivilegedHelperCommand::ping()));
}

TEST_F(HelperCommandTest, AHelperThatDoesNotAnswerCannotBeReset) {
    installFiles();
    client->otherwise = PrivilegedHelperResponse::ok();
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::failure);
    EXPECT_THAT(errors, HasSubstr("does not answer"));
}

TEST_F(HelperCommandTest, ResettingNoneSaysSo) {
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::failure);
    EXPECT_THAT(errors, HasSubstr("not installed"));
    EXPECT_THAT(client->commands, IsEmpty());
}

TEST_F(HelperCommandTest, AConfigurationThatCannotBeReadIsLeftAlone) {
    installFiles();
    const auto file = folder.write("config.json", "{");
    EXPECT_EQ(carryOut(Action::install), ExitStatus::success);
    EXPECT_EQ(fileContent(file), "{");
    EXPECT_THAT(errors, HasSubstr("config.json was left as it is"));
}

TEST_F(HelperCommandTest, UnderSudoTheFilesOfTheOtherUserStayHis) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "nobody but root acts for another user";
    }
    installFiles();
    setenv("SUDO_UID", "1000", 1);
    EXPECT_EQ(carryOut(Action::install), ExitStatus::success);
    unsetenv("SUDO_UID");
    EXPECT_FALSE(std::filesystem::exists(store->paths().configURL()));
}

TEST_F(HelperCommandTest, ASignalEndsThePromptAndTheCommand) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const TemporaryDirectory noteFolder;
        platform.interruption = std::make_shared<Interruption>();
        const auto prompt = std::make_shared<StandInPrompt>(noteFolder, platform.interruption);
        platform.administratorRunner = prompt;
        const auto child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            std::signal(SIGHUP, SIG_DFL); // ignored under nohup
            HelperCommand(platform, *store).carryOut({.action = Action::install, .json = false});
            _exit(1);
        }
        ASSERT_TRUE(waitUntil([&] { return prompt->isAsking(); }));
        kill(child, signal);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_TRUE(waitUntil([&] { return kill(prompt->processID(), 0) != 0; })) << "the prompt is still open";
    }
}

} // namespace
} // namespace tavo
