#include "app/ProcessSignals.h"

#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
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

TEST(StoppingSignals, AStopThatWasIgnoredStaysIgnored) {
    std::signal(SIGTSTP, SIG_IGN);
    EXPECT_TRUE(stoppingSignals().empty());
    std::signal(SIGTSTP, SIG_DFL);
    EXPECT_EQ(stoppingSignals(), std::vector{SIGTSTP});
}

TEST(StopUntilContinued, ReturnsWhenTheProcessIsContinuedAndHandlesTheSignalAsBefore) {
    const auto child = fork();
    if (child == 0) {
        setpgid(0, 0);
        std::signal(SIGTSTP, [](int) {});
        const BlockedSignals blocked({SIGTSTP});
        stopUntilContinued();
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        struct sigaction action {};
        sigaction(SIGTSTP, nullptr, &action);
        _exit(sigismember(&mask, SIGTSTP) == 1 && action.sa_handler != SIG_DFL ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
    EXPECT_TRUE(WIFSTOPPED(status) && WSTOPSIG(status) == SIGTSTP) << status;
    kill(child, SIGCONT);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

} // namespace
} // namespace tavo
