#include "system/macos/TimeLimitedCommandRunner.h"

#include "Support/WaitUntil.h"
#include "base/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace tavo {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds more{60000}; // than any test takes
constexpr milliseconds little{50};

ShellCommand testChild(std::vector<std::string> arguments) {
    return {.executableURL = TAVO_TEST_CHILD, .arguments = std::move(arguments)};
}

ShellCommand shell(const std::string& script) {
    return {.executableURL = "/bin/sh", .arguments = {"-c", script}};
}

/// Whether this process has a child, running or as a zombie.
bool hasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

std::string errorOf(milliseconds limit, const ShellCommand& command) {
    try {
        TimeLimitedCommandRunner(limit).run(command);
    } catch (const CommandTimeoutError& error) {
        return error.description();
    }
    return "none";
}

TEST(TimeLimitedCommandRunner, ACommandInTimeIsRunAsAnyOther) {
    TimeLimitedCommandRunner runner(more);
    EXPECT_EQ(runner.run(testChild({"print", "  a\xFFz\n"})).standardOutput, "a\uFFFDz");
    EXPECT_EQ(runner.run(testChild({"exit", "3"})), (ShellCommandResult{.exitCode = 3}));
    EXPECT_EQ(runner.run(testChild({"die", std::to_string(SIGKILL)})).exitCode, SIGKILL);
    EXPECT_EQ(runner.run(shell("echo out; echo error >&2")),
              (ShellCommandResult{.exitCode = 0, .standardOutput = "out", .standardError = "error"}));
    EXPECT_THROW(runner.run({.executableURL = "/nonexistent/program"}), std::system_error);
}

TEST(TimeLimitedCommandRunner, MegabytesOnBothStreamsComeBackWhole) {
    constexpr std::size_t bytes = 5000000;
    const auto result = TimeLimitedCommandRunner(more).run(testChild({"flood", std::to_string(bytes)}));
    EXPECT_EQ(result.standardOutput, std::string(bytes, 'x'));
    EXPECT_EQ(result.standardError, std::string(bytes, 'x'));
}

TEST(TimeLimitedCommandRunner, AStreamThatEndsLongBeforeTheOtherIsNoEnd) {
    EXPECT_EQ(TimeLimitedCommandRunner(more).run(shell("exec 2>&-; echo late")).standardOutput, "late");
}

TEST(TimeLimitedCommandRunner, ACommandThatHangsIsKilledAndTheErrorSaysSo) {
    EXPECT_EQ(errorOf(little, testChild({"wait"})), std::string(TAVO_TEST_CHILD) +
                                                        " has not ended within 0.05 seconds and was stopped; try "
                                                        "again, and restart this computer if it happens again.");
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST(TimeLimitedCommandRunner, WholeSecondsAreNamedAsSuch) {
    EXPECT_EQ(CommandTimeoutError({.executableURL = "/bin/ps"}, std::chrono::seconds(10)).description(),
              "/bin/ps has not ended within 10 seconds and was stopped; try again, and restart this computer if it "
              "happens again.");
}

TEST(TimeLimitedCommandRunner, ACommandThatWouldRatherNotEndIsKilledToo) {
    EXPECT_NE(errorOf(little, shell("trap '' TERM INT HUP; while :; do sleep 1; done")), "none");
    EXPECT_NE(errorOf(little, shell("kill -STOP $$")), "none");
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST(TimeLimitedCommandRunner, ACommandThatOnlyClosesItsStreamsHasNotEnded) {
    EXPECT_NE(errorOf(little, shell("exec >&- 2>&-; kill -STOP $$")), "none");
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST(TimeLimitedCommandRunner, ACommandThatNeverStopsWritingIsKilled) {
    EXPECT_NE(errorOf(little, shell("while :; do echo line; done")), "none");
}

TEST(TimeLimitedCommandRunner, OutputThatAnotherProcessKeepsOpenIsNotWaitedFor) {
    // It stands for a command that cannot be killed: what it holds open never ends.
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_NE(errorOf(little, shell("sleep 30 & exit 0")), "none");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(TimeLimitedCommandRunner, LeavesNoDescriptorOpen) {
    const auto lowestFree = [] { return FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).get(); };
    const int before = lowestFree();
    EXPECT_NE(errorOf(little, testChild({"wait"})), "none");
    TimeLimitedCommandRunner(more).run(testChild({"exit", "0"}));
    EXPECT_EQ(lowestFree(), before);
}

TEST(TimeLimitedCommandRunner, AStartedChildHasNoLimit) {
    TimeLimitedCommandRunner runner(milliseconds(0));
    const auto child = runner.start(testChild({"wait"}));
    EXPECT_THROW(runner.run(testChild({"wait"})), CommandTimeoutError);
    EXPECT_TRUE(child->isRunning());
    child->stop();
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

} // namespace
} // namespace tavo
