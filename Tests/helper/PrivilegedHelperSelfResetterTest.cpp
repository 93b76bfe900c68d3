#include "helper/PrivilegedHelperSelfResetter.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <system_error>

namespace tavo {
namespace {

class PrivilegedHelperSelfResetterTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();

    /// The script that a resetter over the layout hands to the shell.
    std::string scriptFor(const PrivilegedHelperInstallLayout& layout, std::int64_t delay) {
        PrivilegedHelperSelfResetter(runner, std::make_shared<LaunchDaemonSetup>(layout), delay).requestReset();
        return runner->commands.back().arguments.back();
    }

    void expectFailure(const ShellCommandResult& result, const std::string& message) {
        runner->results = {result};
        try {
            scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 1);
            FAIL() << "succeeded";
        } catch (const PrivilegedHelperInstallerError& error) {
            EXPECT_EQ(error, PrivilegedHelperInstallerError::uninstallFailed(message)) << error.description();
        }
    }
};

TEST_F(PrivilegedHelperSelfResetterTest, TheScriptLineForLine) {
    EXPECT_EQ(scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 2),
              "(\n"
              "/bin/sleep 2\n"
              "set -e\n"
              "/bin/launchctl bootout system/com.vrd.tavo.helper >/dev/null 2>&1 || true\n"
              "/bin/rm -f '/Library/LaunchDaemons/com.vrd.tavo.helper.plist'\n"
              "/bin/rm -f '/Library/PrivilegedHelperTools/TavoPrivilegedHelper'\n"
              ") >/dev/null 2>&1 &");
}

TEST_F(PrivilegedHelperSelfResetterTest, TheShellLeadsAProcessGroupOfItsOwnAndAsksForNoPrivilege) {
    const auto script = scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 2);
    EXPECT_THAT(runner->commands,
                testing::ElementsAre(ShellCommand{
                    .executableURL = "/bin/sh", .arguments = {"-c", script}, .startsOwnProcessGroup = true}));
}

TEST_F(PrivilegedHelperSelfResetterTest, NoDelayIsWrittenAsZero) {
    EXPECT_THAT(scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 0),
                testing::StartsWith("(\n/bin/sleep 0\nset -e\n"));
}

TEST_F(PrivilegedHelperSelfResetterTest, ASingleQuoteInAPathIsQuoted) {
    EXPECT_THAT(scriptFor({.helperExecutableURL = "/it's/helper", .launchDaemonPlistURL = "/a'b"}, 1),
                testing::HasSubstr("\n/bin/rm -f '/a'\\''b'\n/bin/rm -f '/it'\\''s/helper'\n)"));
}

TEST_F(PrivilegedHelperSelfResetterTest, TheScriptEndsInTheBackgroundWithoutALineFeed) {
    EXPECT_THAT(scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 7),
                testing::EndsWith("\n) >/dev/null 2>&1 &"));
}

TEST_F(PrivilegedHelperSelfResetterTest, AShellThatFailsGivesItsOwnWordsOrSomeOthers) {
    expectFailure({.exitCode = 2, .standardError = "sh: no more processes"}, "sh: no more processes");
    expectFailure({.exitCode = 2}, "failed to reset the privileged helper.");
}

TEST_F(PrivilegedHelperSelfResetterTest, ARunnersErrorIsThrownUnchanged) {
    runner->failure = std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::not_enough_memory)));
    EXPECT_THROW(scriptFor(PrivilegedHelperInstallLayout::systemDefault(), 1), std::system_error);
}

TEST(PrivilegedHelperSelfResetter, TheFilesGoAfterTheShellHasReturned) {
    const TemporaryDirectory folder;
    const auto helper = folder.write("it's/the helper", "program");
    const auto list = folder.write("$lists/list", "list");
    const auto setup = std::make_shared<LaunchDaemonSetup>(
        PrivilegedHelperInstallLayout{.helperExecutableURL = helper, .launchDaemonPlistURL = list});
    PrivilegedHelperSelfResetter(std::make_shared<SystemCommandRunner>(), setup, 1).requestReset();
    EXPECT_TRUE(waitUntil([&] { return !std::filesystem::exists(helper); }));
    EXPECT_FALSE(std::filesystem::exists(list));
}

class Removal : public testing::Test {
protected:
    std::chrono::steady_clock::time_point now;
    int starts = 0;
    bool canStart = true;
    SingleRemoval removal{[this] {
                              if (!canStart) {
                                  throw std::runtime_error("no shell");
                              }
                              ++starts;
                          },
                          [this] { return now; }};
};

TEST_F(Removal, IsStartedOnceHoweverManyAskForIt) {
    for (int count = 0; count < 400; ++count) {
        removal.request();
    }
    EXPECT_EQ(starts, 1);
}

TEST_F(Removal, ThatCouldNotBeStartedIsTriedAgainAtOnce) {
    canStart = false;
    EXPECT_THROW(removal.request(), std::runtime_error);
    canStart = true;
    removal.request();
    EXPECT_EQ(starts, 1);
}

TEST_F(Removal, ThatHasRemovedNothingMayBeAskedForAgain) {
    removal.request();
    now += SingleRemoval::maxRemoval - std::chrono::milliseconds(1);
    removal.request();
    EXPECT_EQ(starts, 1);
    now += std::chrono::milliseconds(1);
    removal.request();
    EXPECT_EQ(starts, 2);
}

} // namespace
} // namespace tavo
