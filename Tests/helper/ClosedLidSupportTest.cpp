#include "helper/ClosedLidSupport.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/TemporaryDirectory.h"
#include "helper/macos/LaunchDaemonSetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace tavo {
namespace {

using std::chrono::microseconds;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using State = PrivilegedHelperInstallState;

class ClosedLidSupportTest : public testing::Test {
protected:
    void installFiles() const {
        folder.write("root/TavoPrivilegedHelper", "program");
        folder.write("root/com.vrd.tavo.helper.plist", setup->serviceDefinitionContent());
    }

    void removeFiles() const {
        std::filesystem::remove(layout.helperExecutableURL);
        std::filesystem::remove(layout.launchDaemonPlistURL);
    }

    ClosedLidSupport supportFrom(std::optional<std::filesystem::path> helper) {
        return ClosedLidSupport({.client = client,
                                 .setup = setup,
                                 .administratorRunner = runner,
                                 .source = std::move(helper),
                                 .sleeper = [this](microseconds time) {
                                     sleeps.push_back(time);
                                     onSleep();
                                 }});
    }

    TemporaryDirectory folder;
    TavoPaths paths{folder.path() / "Tavo"};
    std::filesystem::path source = folder.write("build/TavoPrivilegedHelper", "program");
    PrivilegedHelperInstallLayout layout{.helperExecutableURL = folder.path() / "root/TavoPrivilegedHelper",
                                         .launchDaemonPlistURL = folder.path() / "root/com.vrd.tavo.helper.plist"};
    std::shared_ptr<LaunchDaemonSetup> setup = std::make_shared<LaunchDaemonSetup>(layout);
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<ScriptedHelperClient> client = std::make_shared<ScriptedHelperClient>();
    std::vector<microseconds> sleeps;
    std::function<void()> onSleep = [] {};
    ClosedLidSupport support = supportFrom(source);
};

TEST_F(ClosedLidSupportTest, HasFilesWhileAnyOfThemIsThere) {
    EXPECT_FALSE(support.hasFiles());
    installFiles();
    EXPECT_TRUE(support.hasFiles());
    std::filesystem::remove(layout.helperExecutableURL);
    EXPECT_TRUE(support.hasFiles());
    std::filesystem::remove(layout.launchDaemonPlistURL);
    EXPECT_FALSE(support.hasFiles());
}

TEST_F(ClosedLidSupportTest, OnlyTheSameProgramMatchesThisBuild) {
    EXPECT_FALSE(support.matchesThisBuild());
    installFiles();
    EXPECT_TRUE(support.matchesThisBuild());
    EXPECT_FALSE(supportFrom(std::nullopt).matchesThisBuild());
    folder.write("root/TavoPrivilegedHelper", "another");
    EXPECT_FALSE(support.matchesThisBuild());
}

TEST_F(ClosedLidSupportTest, AStateThatIsThereIsNotWaitedFor) {
    installFiles();
    EXPECT_EQ(support.waitForState(State::ready, {.retries = 3, .delayMicroseconds = 50}), State::ready);
    EXPECT_THAT(client->commands, SizeIs(1));
    EXPECT_THAT(sleeps, IsEmpty());
}

TEST_F(ClosedLidSupportTest, AStateIsWaitedForBetweenTheAttempts) {
    onSleep = [this] {
        if (sleeps.size() == 2) {
            installFiles();
        }
    };
    EXPECT_EQ(support.waitForState(State::ready, {.retries = 5, .delayMicroseconds = 50}), State::ready);
    EXPECT_THAT(sleeps, ElementsAre(microseconds{50}, microseconds{50}));
}

TEST_F(ClosedLidSupportTest, AStateThatDoesNotComeGivesTheLastOneSeenWithoutAnotherWait) {
    EXPECT_EQ(support.waitForState(State::ready, {.retries = 3, .delayMicroseconds = 50}), State::notInstalled);
    EXPECT_THAT(sleeps, SizeIs(2));
    sleeps.clear();
    EXPECT_EQ(support.waitForState(State::ready, {.retries = 0, .delayMicroseconds = 50}), State::notInstalled);
    EXPECT_THAT(sleeps, IsEmpty());
}

TEST_F(ClosedLidSupportTest, WithoutAProgramOfItsOwnNothingIsInstalled) {
    try {
        supportFrom(std::nullopt).install(paths);
        FAIL() << "succeeded";
    } catch (const PrivilegedHelperInstallerError& error) {
        EXPECT_EQ(error, PrivilegedHelperInstallerError::missingHelperExecutable(""));
    }
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(ClosedLidSupportTest, InstallsItsOwnProgram) {
    runner->onRun = [this] { installFiles(); };
    EXPECT_EQ(support.install(paths), State::ready);
    ASSERT_THAT(runner->commands, testing::Not(IsEmpty()));
    EXPECT_TRUE(runner->commands.front().requiresPrivilege);
    EXPECT_THAT(runner->commands.front().arguments, testing::Contains(testing::HasSubstr(source.string())));
}

TEST_F(ClosedLidSupportTest, UninstallsWithTheAdministratorsApproval) {
    installFiles();
    runner->onRun = [this] { removeFiles(); };
    EXPECT_EQ(support.uninstall(paths), State::notInstalled);
    ASSERT_THAT(runner->commands, testing::Not(IsEmpty()));
    EXPECT_TRUE(runner->commands.front().requiresPrivilege);
}

TEST_F(ClosedLidSupportTest, AResetIsOverOnceBothFilesHaveGone) {
    installFiles();
    client->otherwise = PrivilegedHelperResponse::ok();
    onSleep = [this] {
        if (sleeps.size() == 3) {
            removeFiles();
        }
    };
    EXPECT_TRUE(support.reset());
    EXPECT_THAT(client->commands, ElementsAre(PrivilegedHelperCommand::resetSupport()));
    EXPECT_THAT(sleeps, ElementsAre(microseconds{100000}, microseconds{100000}, microseconds{100000}));
    EXPECT_THAT(runner->commands, IsEmpty()) << "the helper removes itself";
}

TEST_F(ClosedLidSupportTest, AHelperThatDoesNotRemoveItselfIsGivenTwoAndAHalfSeconds) {
    installFiles();
    client->otherwise = PrivilegedHelperResponse::ok();
    EXPECT_FALSE(support.reset());
    microseconds waited{0};
    for (const auto& sleep : sleeps) {
        waited += sleep;
    }
    EXPECT_GE(waited, std::chrono::milliseconds{2300});
    EXPECT_LE(waited, std::chrono::milliseconds{2500});
    EXPECT_THAT(sleeps, Each(microseconds{100000}));
}

TEST_F(ClosedLidSupportTest, ARefusedResetSaysWhyAndWaitsForNothing) {
    installFiles();
    client->otherwise = PrivilegedHelperResponse::error("the lid is held.");
    try {
        support.reset();
        FAIL() << "succeeded";
    } catch (const PrivilegedHelperInstallerError& error) {
        EXPECT_EQ(error, PrivilegedHelperInstallerError::uninstallFailed("the lid is held."));
    }
    EXPECT_THAT(sleeps, IsEmpty());
}

} // namespace
} // namespace tavo
