#include "helper/PrivilegedHelperInstaller.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"
#include "helper/macos/LaunchDaemonSetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <system_error>

namespace tavo {
namespace {

using std::chrono::microseconds;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using State = PrivilegedHelperInstallState;

/// Runs a command as root would: here, by doing what the test says.
class ActingRunner final : public CommandRunning {
public:
    bool supportsPrivilegedCommands() const override { return true; }
    ShellCommandResult run(const ShellCommand& command) override {
        commands.push_back(command);
        return actOn ? actOn(command) : act();
    }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override {
        throw std::logic_error("the installer starts nothing");
    }

    std::vector<ShellCommand> commands;
    std::function<ShellCommandResult()> act = [] { return ShellCommandResult{}; };

    /// Instead, where it depends on the command.
    std::function<ShellCommandResult(const ShellCommand&)> actOn;
};

class PrivilegedHelperInstallerTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    TavoPaths paths{folder.path() / "Tavo"};
    std::filesystem::path source = folder.write("build/TavoPrivilegedHelper", "program");
    std::filesystem::path staging = paths.rootDirectory / "helper-installer";
    std::filesystem::path stagedPlist = staging / "com.vrd.tavo.helper.plist";
    PrivilegedHelperInstallLayout layout{.helperExecutableURL = folder.path() / "root/TavoPrivilegedHelper",
                                         .launchDaemonPlistURL = folder.path() / "root/com.vrd.tavo.helper.plist"};
    std::shared_ptr<LaunchDaemonSetup> setup = std::make_shared<LaunchDaemonSetup>(layout);
    std::shared_ptr<ActingRunner> runner = std::make_shared<ActingRunner>();
    std::shared_ptr<ScriptedHelperClient> client = std::make_shared<ScriptedHelperClient>();
    std::vector<microseconds> sleeps;
    PrivilegedHelperInstaller installer = installerWith({.retries = 3, .delayMicroseconds = 200000});

    PrivilegedHelperInstaller installerWith(HelperReachabilityWait wait) {
        return {paths, runner, client, setup, wait, [this](microseconds delay) { sleeps.push_back(delay); }};
    }

    void installFiles() const {
        folder.write("root/TavoPrivilegedHelper", "program");
        folder.write("root/com.vrd.tavo.helper.plist", setup->serviceDefinitionContent());
    }

    /// Nothing that launchctl(1) is asked about is known, and every script fails so.
    void failEveryScriptWith(const ShellCommandResult& failure) {
        runner->actOn = [failure](const ShellCommand& command) {
            return command.requiresPrivilege ? failure : ShellCommandResult{.exitCode = 113};
        };
    }

    template <typename Operation>
    void expectInstallerError(Operation operation, const PrivilegedHelperInstallerError& expected) {
        try {
            operation();
            FAIL() << "succeeded";
        } catch (const PrivilegedHelperInstallerError& error) {
            EXPECT_EQ(error, expected) << error.description();
        }
    }
};

TEST_F(PrivilegedHelperInstallerTest, AStateIsInstalledUnlessItIsNot) {
    EXPECT_FALSE(isInstalled(State::notInstalled));
    EXPECT_TRUE(isInstalled(State::installedUnreachable));
    EXPECT_TRUE(isInstalled(State::ready));
}

TEST_F(PrivilegedHelperInstallerTest, WithBothFilesAndAPongItIsReady) {
    installFiles();
    EXPECT_EQ(installer.currentState(), State::ready);
    EXPECT_THAT(client->commands, ElementsAre(PrivilegedHelperCommand::ping()));
}

TEST_F(PrivilegedHelperInstallerTest, WithoutEitherFileItIsNotInstalledAndNoPingIsSent) {
    EXPECT_EQ(installer.currentState(), State::notInstalled);
    folder.write("root/TavoPrivilegedHelper", "program");
    EXPECT_EQ(installer.currentState(), State::notInstalled);
    installFiles();
    std::filesystem::remove(layout.helperExecutableURL);
    EXPECT_EQ(installer.currentState(), State::notInstalled);
    EXPECT_THAT(client->commands, IsEmpty());
}

TEST_F(PrivilegedHelperInstallerTest, AnythingButAPongIsUnreachable) {
    installFiles();
    client->answers = {PrivilegedHelperResponse::ok(), PrivilegedHelperResponse::error("no"),
                       std::make_exception_ptr(PrivilegedHelperClientError::timeout()),
                       std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::connection_refused)))};
    const auto answers = client->answers.size();
    for (std::size_t index = 0; index < answers; ++index) {
        EXPECT_EQ(installer.currentState(), State::installedUnreachable);
    }
    EXPECT_THAT(client->commands, SizeIs(answers));
}

TEST_F(PrivilegedHelperInstallerTest, InstallingRunsTheScriptAsRootOverTheStagedFile) {
    std::string stagedContent;
    runner->act = [&] {
        stagedContent = fileContent(stagedPlist);
        installFiles();
        return ShellCommandResult{};
    };
    EXPECT_EQ(installer.install(source), State::ready);
    EXPECT_THAT(runner->commands,
                ElementsAre(ShellCommand{.executableURL = "/bin/sh",
                                         .arguments = {"-c", setup->installScript(source, stagedPlist)},
                                         .requiresPrivilege = true}));
    EXPECT_EQ(stagedContent, setup->serviceDefinitionContent());
    EXPECT_FALSE(std::filesystem::exists(staging));
    EXPECT_TRUE(std::filesystem::exists(paths.rootDirectory));
}

TEST_F(PrivilegedHelperInstallerTest, AMissingSourceIsNamedAndNothingIsStaged) {
    const auto missing = folder.path() / "build/nothing";
    expectInstallerError([&] { installer.install(missing); },
                         PrivilegedHelperInstallerError::missingHelperExecutable(missing.string()));
    EXPECT_THAT(runner->commands, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(paths.rootDirectory));
}

TEST_F(PrivilegedHelperInstallerTest, ASourceThatIsNoRegularFileIsRefusedBeforeAnybodyIsAsked) {
    const auto pipe = folder.path() / "build/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto link = folder.path() / "build/link";
    std::filesystem::create_symlink("/dev/zero", link);
    for (const auto& odd : {pipe, link, std::filesystem::path("/dev/null"), folder.path() / "build"}) {
        expectInstallerError([&] { installer.install(odd); },
                             PrivilegedHelperInstallerError::installFailed(
                                 odd.string() + " is no regular file; nothing was installed."));
    }
    EXPECT_THAT(runner->commands, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(paths.rootDirectory));
}

TEST_F(PrivilegedHelperInstallerTest, AStagingFolderThatCannotBeMadeIsTheSystemsError) {
    folder.write("Tavo", "a file in the folder's place");
    EXPECT_THROW(installer.install(source), std::system_error);
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(PrivilegedHelperInstallerTest, AStagedFileThatCannotBeWrittenIsTheSystemsErrorAndLeavesTheFolder) {
    std::filesystem::create_directories(stagedPlist / "a folder in the file's place");
    EXPECT_THROW(installer.install(source), std::system_error);
    EXPECT_THAT(runner->commands, IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(staging));
}

TEST_F(PrivilegedHelperInstallerTest, ADefinitionThatCannotBeWrittenDownLeavesTheFolder) {
    setup = std::make_shared<LaunchDaemonSetup>(PrivilegedHelperInstallLayout{
        .helperExecutableURL = "/a\x01", .launchDaemonPlistURL = layout.launchDaemonPlistURL});
    EXPECT_THROW(installerWith({}).install(source), PropertyListError);
    EXPECT_THAT(runner->commands, IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(staging));
}

TEST_F(PrivilegedHelperInstallerTest, AScriptThatFailsGivesItsOwnWords) {
    runner->act = [] { return ShellCommandResult{.exitCode = 1, .standardError = "User canceled. (-128)"}; };
    expectInstallerError([&] { installer.install(source); },
                         PrivilegedHelperInstallerError::installFailed("User canceled. (-128)"));
    EXPECT_THAT(client->commands, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(staging));
}

const ShellCommandResult refusedByLaunchd{
    .exitCode = 1, .standardError = "0:414: execution error: Bootstrap failed: 5: Input/output error (5)"};
const ShellCommand printsTheJob{.executableURL = "/bin/launchctl",
                                .arguments = {"print", "system/com.vrd.tavo.helper"}};

TEST_F(PrivilegedHelperInstallerTest, AnEarlierHelperThatIsStillEndingIsWaitedForAndTheUserAskedOnceMore) {
    int scripts = 0;
    int prints = 0;
    runner->actOn = [&](const ShellCommand& command) {
        if (!command.requiresPrivilege) {
            return ShellCommandResult{.exitCode = ++prints < 3 ? 0 : 113};
        }
        installFiles();
        return ++scripts == 1 ? refusedByLaunchd : ShellCommandResult{};
    };
    EXPECT_EQ(installer.install(source), State::ready);
    const ShellCommand first{.executableURL = "/bin/sh",
                             .arguments = {"-c", setup->installScript(source, stagedPlist)},
                             .requiresPrivilege = true};
    auto second = first;
    second.approvalPrompt = "tavo could not start its helper while the system was still ending the earlier one. please "
                            "approve once more.";
    EXPECT_THAT(runner->commands, ElementsAre(first, printsTheJob, printsTheJob, printsTheJob, second));
    EXPECT_THAT(sleeps, SizeIs(2));
}

TEST_F(PrivilegedHelperInstallerTest, ASecondRefusalIsTheLast) {
    failEveryScriptWith(refusedByLaunchd);
    expectInstallerError([&] { installer.install(source); },
                         PrivilegedHelperInstallerError::installFailed(refusedByLaunchd.standardError));
    EXPECT_THAT(runner->commands, SizeIs(3));
    EXPECT_FALSE(std::filesystem::exists(staging));
}

TEST_F(PrivilegedHelperInstallerTest, AJobThatNeverGoesIsWaitedForTenSecondsBeforeTheSecondRun) {
    runner->actOn = [](const ShellCommand& command) {
        return command.requiresPrivilege ? refusedByLaunchd : ShellCommandResult{};
    };
    EXPECT_THROW(installer.install(source), PrivilegedHelperInstallerError);
    EXPECT_THAT(sleeps, SizeIs(50));
    EXPECT_THAT(sleeps, Each(microseconds{200000}));
    EXPECT_TRUE(runner->commands.back().requiresPrivilege);
}

TEST_F(PrivilegedHelperInstallerTest, NoOtherFailureIsTriedAgain) {
    for (const auto* failure : {"0:414: execution error: User canceled. (-128)", "install: No space left on device",
                                "Bootstrap failed: 119: Service is disabled"}) {
        runner->commands.clear();
        failEveryScriptWith({.exitCode = 1, .standardError = failure});
        expectInstallerError([&] { installer.install(source); },
                             PrivilegedHelperInstallerError::installFailed(failure));
        EXPECT_THAT(runner->commands, SizeIs(1)) << failure;
    }
}

class ReplacedDuringApproval : public PrivilegedHelperInstallerTest {
protected:
    /// Runs the installation, which must end in an error that says so.
    void expectForeign(const std::filesystem::path& file, const std::string& has) {
        try {
            installer.install(source);
            FAIL() << "succeeded";
        } catch (const PrivilegedHelperInstallerError& error) {
            EXPECT_EQ(error.kind(), PrivilegedHelperInstallerError::Kind::installFailed);
            EXPECT_TRUE(error.foreignProgram());
            const auto plist = "'" + layout.launchDaemonPlistURL.string() + "'";
            EXPECT_EQ(error.description(), "the files to install were replaced while the approval was awaited: " +
                                               file.string() + " is not tavo's, and a foreign program " + has +
                                               " been started as root. remove it with \"sudo /bin/launchctl bootout "
                                               "system " +
                                               plist + "; sudo /bin/rm -f " + plist + " '" +
                                               layout.helperExecutableURL.string() + "'\" in a terminal.");
        }
        EXPECT_THAT(client->commands, IsEmpty()) << "it was asked whether it is the helper";
        EXPECT_FALSE(std::filesystem::exists(staging));
    }
};

TEST_F(ReplacedDuringApproval, AProgramIsSaidToHaveBeenStarted) {
    runner->act = [&] {
        folder.write("build/TavoPrivilegedHelper", "foreign"); // and root's script takes what it finds
        installFiles();
        folder.write("root/TavoPrivilegedHelper", "foreign");
        return ShellCommandResult{};
    };
    expectForeign(layout.helperExecutableURL, "has");
}

TEST_F(ReplacedDuringApproval, APropertyListIsSaidToHaveBeenStarted) {
    runner->act = [&] {
        installFiles();
        folder.write("root/com.vrd.tavo.helper.plist", setup->serviceDefinitionContent() + " ");
        return ShellCommandResult{};
    };
    expectForeign(layout.launchDaemonPlistURL, "has");
}

TEST_F(ReplacedDuringApproval, AFailureAfterThatIsSaidToBeOneAndNobodyIsAskedAgain) {
    installFiles();
    runner->act = [&] {
        folder.write("root/com.vrd.tavo.helper.plist", "a job by another name");
        return refusedByLaunchd;
    };
    expectForeign(layout.launchDaemonPlistURL, "may have");
    EXPECT_THAT(runner->commands, SizeIs(1));
}

TEST_F(ReplacedDuringApproval, AnEarlierHelperIsNoForeignOneAfterACancelledPrompt) {
    folder.write("root/TavoPrivilegedHelper", "last year's");
    folder.write("root/com.vrd.tavo.helper.plist", "last year's");
    runner->act = [] { return ShellCommandResult{.exitCode = 1, .standardError = "User canceled. (-128)"}; };
    expectInstallerError([&] { installer.install(source); },
                         PrivilegedHelperInstallerError::installFailed("User canceled. (-128)"));
}

TEST_F(PrivilegedHelperInstallerTest, AScriptThatFailsWithoutWordsGetsSome) {
    runner->act = [] { return ShellCommandResult{.exitCode = 5, .standardOutput = "ignored"}; };
    expectInstallerError([&] { installer.install(source); },
                         PrivilegedHelperInstallerError::installFailed("failed to install the privileged helper."));
    expectInstallerError([&] { installer.uninstall(); },
                         PrivilegedHelperInstallerError::uninstallFailed("failed to reset the privileged helper."));
}

TEST_F(PrivilegedHelperInstallerTest, ARunnersErrorIsThrownUnchangedAndTheStagingFolderGoes) {
    runner->act = []() -> ShellCommandResult {
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory));
    };
    EXPECT_THROW(installer.install(source), std::system_error);
    EXPECT_FALSE(std::filesystem::exists(staging));
    EXPECT_THROW(installer.uninstall(), std::system_error);
}

TEST_F(PrivilegedHelperInstallerTest, AHelperThatNeverAnswersIsNotReachable) {
    client->otherwise = PrivilegedHelperResponse::ok();
    expectInstallerError([&] { installer.install(source); }, PrivilegedHelperInstallerError::helperNotReachable());
    EXPECT_THAT(client->commands, SizeIs(3));
    EXPECT_FALSE(std::filesystem::exists(staging));
}

TEST_F(PrivilegedHelperInstallerTest, WithoutRetriesNoPingIsSent) {
    expectInstallerError([&] { installerWith({.retries = 0}).install(source); },
                         PrivilegedHelperInstallerError::helperNotReachable());
    EXPECT_THAT(runner->commands, SizeIs(1));
    EXPECT_THAT(client->commands, IsEmpty());
    EXPECT_THAT(sleeps, IsEmpty());
}

TEST_F(PrivilegedHelperInstallerTest, FiftyRetriesAreFiftyPingsAndFortyNineSleeps) {
    client->otherwise = std::make_exception_ptr(PrivilegedHelperClientError::timeout());
    EXPECT_EQ(HelperReachabilityWait{}, (HelperReachabilityWait{.retries = 50, .delayMicroseconds = 200000}));
    EXPECT_FALSE(installerWith({}).waitForReachability());
    EXPECT_THAT(client->commands, SizeIs(50));
    EXPECT_THAT(client->commands, Each(PrivilegedHelperCommand::ping()));
    EXPECT_THAT(sleeps, SizeIs(49));
    EXPECT_THAT(sleeps, Each(microseconds{200000}));
}

TEST_F(PrivilegedHelperInstallerTest, TheFirstPongEndsTheWait) {
    client->answers = {std::make_exception_ptr(std::runtime_error("starting")), PrivilegedHelperResponse::ok()};
    EXPECT_TRUE(installerWith({}).waitForReachability());
    EXPECT_THAT(client->commands, SizeIs(3));
    EXPECT_THAT(sleeps, SizeIs(2));
}

TEST_F(PrivilegedHelperInstallerTest, WithoutADelayNothingSleeps) {
    client->otherwise = PrivilegedHelperResponse::ok();
    EXPECT_FALSE(installerWith({.retries = 4, .delayMicroseconds = 0}).waitForReachability());
    EXPECT_THAT(client->commands, SizeIs(4));
    EXPECT_THAT(sleeps, IsEmpty());
}

using PrivilegedHelperInstallerDeathTest = PrivilegedHelperInstallerTest;

TEST_F(PrivilegedHelperInstallerDeathTest, ANegativeNumberOfRetriesEndsTheProcess) {
    EXPECT_DEATH(installerWith({.retries = -1}).waitForReachability(), "number of retries is negative");
}

TEST_F(PrivilegedHelperInstallerTest, WhatIsInstalledButGoneAgainIsNotInstalled) {
    EXPECT_EQ(installer.install(source), State::notInstalled);
}

TEST_F(PrivilegedHelperInstallerTest, RemovingRunsTheScriptAsRoot) {
    installFiles();
    runner->act = [&] {
        std::filesystem::remove_all(folder.path() / "root");
        return ShellCommandResult{};
    };
    EXPECT_EQ(installer.uninstall(), State::notInstalled);
    EXPECT_THAT(runner->commands, ElementsAre(ShellCommand{.executableURL = "/bin/sh",
                                                           .arguments = {"-c", setup->uninstallScript()},
                                                           .requiresPrivilege = true}));
}

TEST_F(PrivilegedHelperInstallerTest, ARemovalThatFailsGivesItsOwnWords) {
    runner->act = [] { return ShellCommandResult{.exitCode = 1, .standardError = "rm: busy"}; };
    expectInstallerError([&] { installer.uninstall(); }, PrivilegedHelperInstallerError::uninstallFailed("rm: busy"));
}

TEST_F(PrivilegedHelperInstallerTest, TheErrorsDescribeThemselves) {
    EXPECT_EQ(PrivilegedHelperInstallerError::missingHelperExecutable("/a/b").description(),
              "could not find the privileged helper executable at /a/b.");
    EXPECT_EQ(PrivilegedHelperInstallerError::helperNotReachable().description(),
              "installed the privileged helper, but tavo could not reach it.");
}

} // namespace
} // namespace tavo
