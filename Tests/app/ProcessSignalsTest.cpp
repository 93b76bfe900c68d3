#include "app/ProcessSignals.h"

#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>

namespace tavo {
namespace {

TEST(SignalWatch, TellsOfEachSignalWhileItLives) {
    const BlockedSignals blocked({SIGUSR1, SIGUSR2});
    std::atomic<int> first = 0;
    std::atomic<int> second = 0;
    {
        const SignalWatch watch({SIGUSR1, SIGUSR2}, [&](int signal) { ++(signal == SIGUSR1 ? first : second); });
        kill(getpid(), SIGUSR1);
        EXPECT_TRUE(waitUntil([&] { return first == 1; }));
        kill(getpid(), SIGUSR2);
        EXPECT_TRUE(waitUntil([&] { return second == 1; }));
    }
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(SignalWatch, ASignalThatCameBeforeIsNotLost) {
    const BlockedSignals blocked({SIGUSR1});
    kill(getpid(), SIGUSR1);
    std::atomic<int> told = 0;
    const SignalWatch watch({SIGUSR1}, [&](int) { ++told; });
    EXPECT_TRUE(waitUntil([&] { return told == 1; }));
}

TEST(QuittingSignals, AHangUpThatWasIgnoredStaysIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    EXPECT_EQ(quittingSignals(), (std::vector{SIGTERM, SIGINT}));
    std::signal(SIGHUP, SIG_DFL);
    EXPECT_EQ(quittingSignals(), (std::vector{SIGTERM, SIGINT, SIGHUP}));
}

} // namespace
} // namespace tavo
