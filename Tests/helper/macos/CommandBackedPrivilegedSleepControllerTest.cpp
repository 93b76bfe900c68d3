#include "helper/macos/CommandBackedPrivilegedSleepController.h"

#include "Support/ScriptedCommandRunner.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CommandBackedPrivilegedSleepControllerTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    CommandBackedPrivilegedSleepController controller{runner, true};

    void expectFailure(const ShellCommandResult& result, const std::string& message) {
        runner->results = {result};
        try {
            controller.setSleepDisabled(PMSetScope::ac, true);
            FAIL() << "succeeded";
        } catch (const WakeControlError& error) {
            EXPECT_EQ(error, WakeControlError::commandFailed(message)) << error.description();
        }
    }
};

TEST_F(CommandBackedPrivilegedSleepControllerTest, EachScopeAndSwitchHasItsCommandLine) {
    controller.setSleepDisabled(PMSetScope::ac, true);
    controller.setSleepDisabled(PMSetScope::all, true);
    controller.setSleepDisabled(PMSetScope::battery, false);
    EXPECT_THAT(*runner->log,
                ElementsAre("run /usr/bin/pmset -c disablesleep 1", "run /usr/bin/pmset -a disablesleep 1",
                            "run /usr/bin/pmset -b disablesleep 0"));
    EXPECT_EQ(runner->commands.back(), (ShellCommand{.executableURL = "/usr/bin/pmset",
                                                     .arguments = {"-b", "disablesleep", "0"},
                                                     .requiresPrivilege = true}));
}

TEST_F(CommandBackedPrivilegedSleepControllerTest, UnavailableItRunsNothing) {
    CommandBackedPrivilegedSleepController unavailable(runner, false);
    EXPECT_FALSE(unavailable.isAvailable());
    EXPECT_TRUE(controller.isAvailable());
    try {
        unavailable.setSleepDisabled(PMSetScope::all, true);
        FAIL() << "succeeded";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::closedLidRequiresPrivilege());
    }
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(CommandBackedPrivilegedSleepControllerTest, AFailureWithoutWordsNamesTheExitCode) {
    expectFailure({.exitCode = 1}, "pmset returned 1.");
    expectFailure({.exitCode = 64, .standardOutput = "usage"}, "pmset returned 64.");
}

TEST_F(CommandBackedPrivilegedSleepControllerTest, AFailuresOwnWordsStayAsTheyAre) {
    expectFailure({.exitCode = 1, .standardError = "must be root.\n"}, "must be root.\n");
}

TEST_F(CommandBackedPrivilegedSleepControllerTest, WordsWithoutAFailureAreIgnored) {
    runner->results = {{.exitCode = 0, .standardError = "a warning"}};
    EXPECT_NO_THROW(controller.setSleepDisabled(PMSetScope::all, true));
}

TEST_F(CommandBackedPrivilegedSleepControllerTest, ARunnersErrorIsThrownUnchanged) {
    runner->failure =
        std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::no_such_file_or_directory)));
    EXPECT_THROW(controller.setSleepDisabled(PMSetScope::all, true), std::system_error);
}

} // namespace
} // namespace tavo
