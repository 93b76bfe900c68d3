#include "system/ProcessStart.h"

#include "Support/WaitUntil.h"
#include "system/ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>

namespace tavo {
namespace {

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
