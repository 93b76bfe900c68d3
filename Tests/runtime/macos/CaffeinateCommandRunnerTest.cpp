#include "runtime/macos/CaffeinateCommandRunner.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/WaitUntil.h"
#include "system/SystemCommandRunner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <system_error>

namespace tavo {
namespace {

class CaffeinateRunner : public testing::Test {
protected:
    std::shared_ptr<RunningCommand> start(std::vector<std::string> flags) {
        return CaffeinateCommandRunner(inner, assertionStatus)
            .start({.executableURL = "/usr/bin/caffeinate", .arguments = std::move(flags)});
    }

    std::shared_ptr<ScriptedCommandRunner> inner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<AssertionStatus> assertionStatus = std::make_shared<AssertionStatus>();
};

TEST_F(CaffeinateRunner, ItsFlagsAreReportedWhileItRuns) {
    const auto onBattery = start({"-i"});
    EXPECT_EQ(assertionStatus->summary(), "idle (caffeinate)");
    onBattery->stop();
    EXPECT_EQ(assertionStatus->summary(), "");
    const auto onMains = start({"-i", "-s"});
    EXPECT_EQ(assertionStatus->summary(), "idle:sleep (caffeinate)");
    EXPECT_EQ(assertionStatus->notice(), std::nullopt);
}

TEST_F(CaffeinateRunner, AChildThatEndsUnaskedLeavesNoReport) {
    const auto child = start({"-i"});
    inner->children.back()->dieFromOutside();
    EXPECT_FALSE(child->isRunning());
    EXPECT_EQ(assertionStatus->summary(), "");
}

TEST_F(CaffeinateRunner, TheLateEndOfAnEarlierChildLeavesTheNewOneOnTheBoard) {
    const auto first = start({"-i"});
    first->stop();
    const auto second = start({"-i", "-s"});
    inner->children.front()->dieFromOutside();
    EXPECT_EQ(assertionStatus->summary(), "idle:sleep (caffeinate)");
}

TEST_F(CaffeinateRunner, WhatCannotBeLaunchedIsNotOnTheBoard) {
    inner->failure = std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::permission_denied)));
    EXPECT_THROW(start({"-i"}), std::system_error);
    EXPECT_EQ(assertionStatus->summary(), "");
}

TEST_F(CaffeinateRunner, ARealChildThatIsKilledLeavesTheBoardEmptyByItself) {
    CaffeinateCommandRunner runner(std::make_shared<SystemCommandRunner>(), assertionStatus);
    const auto child = runner.start({.executableURL = "/bin/sh", .arguments = {"-c", "sleep 1000", "-i"}});
    EXPECT_EQ(assertionStatus->summary(), "idle (caffeinate)");
    ASSERT_EQ(kill(*child->processID(), SIGKILL), 0);
    EXPECT_TRUE(waitUntil([&] { return assertionStatus->summary().empty(); }));
    EXPECT_FALSE(child->isRunning());
}

TEST_F(CaffeinateRunner, OtherCommandsGoToTheOrdinaryRunner) {
    inner->results = {{.exitCode = 4}};
    CaffeinateCommandRunner runner(inner, assertionStatus);
    EXPECT_EQ(runner.run({.executableURL = "/bin/true"}).exitCode, 4);
    EXPECT_EQ(runner.supportsPrivilegedCommands(), inner->supportsPrivilegedCommands());
}

TEST(TiedCaffeinateRunner, NamesTheProcessThatTheToolEndsWith) {
    const auto inner = std::make_shared<ScriptedCommandRunner>();
    TiedCaffeinateRunner runner(inner, 4711);
    const auto child = runner.start({.executableURL = "/usr/bin/caffeinate", .arguments = {"-i", "-s"}});
    EXPECT_EQ(ScriptedCommandRunner::line(inner->commands.at(0)), "/usr/bin/caffeinate -i -s -w 4711");
    EXPECT_TRUE(child->isRunning());
}

TEST(TiedCaffeinateRunner, LeavesOtherCommandsAsTheyAre) {
    const auto inner = std::make_shared<ScriptedCommandRunner>();
    TiedCaffeinateRunner runner(inner, 4711);
    runner.run({.executableURL = "/usr/bin/pmset", .arguments = {"-g"}});
    EXPECT_EQ(ScriptedCommandRunner::line(inner->commands.at(0)), "/usr/bin/pmset -g");
    EXPECT_FALSE(runner.supportsPrivilegedCommands());
}

} // namespace
} // namespace tavo
