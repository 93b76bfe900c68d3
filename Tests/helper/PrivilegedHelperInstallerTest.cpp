#include "helper/PrivilegedHelperInstaller.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/TemporaryDirectory.h"
#include "config/AtomicFile.h"
#include "helper/LaunchDaemonSetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
        return act();
    }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override {
        throw std::logic_error("the installer starts nothing");
    }

    std::vector<ShellCommand> commands;
    std::function<ShellCommandResult()> act = [] { return ShellCommandResult{}; };
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
        folder.write("root/com.vrd.tavo.helper.plist", "list");
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
    EXPECT_DEATH(installerWith({.retries = -1}).waitForReachability(), "negative number of retries");
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
