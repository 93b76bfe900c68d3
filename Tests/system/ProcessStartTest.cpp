#include "system/ProcessStart.h"

#include "Support/WaitUntil.h"
#include "system/ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>

namespace tavo {
namespace {

TEST(ProcessStart, IsThatOfAProcessThatRuns) {
    const auto spawned = spawnChild({.executableURL = TAVO_TEST_CHILD, .arguments = {"wait"}}, ChildInput::inherited);
    const auto start = processStart(spawned.pid);
    EXPECT_TRUE(start);
    EXPECT_EQ(processStart(spawned.pid), start);
    kill(spawned.pid, SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(spawned.pid), &info, WEXITED | WNOWAIT);
    EXPECT_FALSE(processStart(spawned.pid)) << "it has ended, though nobody has reaped it";
    waitForExit(spawned.pid);
    EXPECT_FALSE(processStart(spawned.pid));
}

TEST(IsProcessStopped, FromTheStopUntilItIsContinued) {
    const auto spawned = spawnChild({.executableURL = TAVO_TEST_CHILD, .arguments = {"wait"}}, ChildInput::inherited);
    EXPECT_FALSE(isProcessStopped(spawned.pid));
    kill(spawned.pid, SIGSTOP);
    EXPECT_TRUE(waitUntil([&] { return isProcessStopped(spawned.pid); }));
    kill(spawned.pid, SIGCONT);
    EXPECT_TRUE(waitUntil([&] { return !isProcessStopped(spawned.pid); }));
    kill(spawned.pid, SIGKILL);
    waitForExit(spawned.pid);
    EXPECT_FALSE(isProcessStopped(spawned.pid)) << "there is none any more";
}

} // namespace
} // namespace tavo
