#include "TavoControl/SignalForwarding.h"

#include "Support/WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <mutex>
#include <vector>

namespace tavo {
namespace {

using ::testing::ElementsAre;

/// Restores the dispositions of the signals for the other tests of this program.
class SignalForwardingTest : public testing::Test {
protected:
    SignalForwardingTest() {
        for (const int signal : changed) {
            struct sigaction action {};
            sigaction(signal, nullptr, &action);
            before.push_back(action);
        }
    }
    ~SignalForwardingTest() override {
        for (std::size_t index = 0; index < changed.size(); ++index) {
            sigaction(changed[index], &before[index], nullptr);
        }
    }

    void note(int signal) {
        const std::lock_guard lock(mutex);
        seen.push_back(signal);
    }
    std::vector<int> forwarded() {
        const std::lock_guard lock(mutex);
        return seen;
    }
    bool hasForwarded(std::size_t count) {
        return waitUntil([&] { return forwarded().size() >= count; });
    }

    const std::vector<int> changed{SIGHUP,  SIGINT,  SIGQUIT,  SIGTERM, SIGUSR1,
                                   SIGUSR2, SIGALRM, SIGWINCH, SIGTSTP, SIGCONT};
    std::vector<struct sigaction> before;
    std::mutex mutex;
    std::vector<int> seen;
};

TEST_F(SignalForwardingTest, TellsOfEverySignalThatAProcessSends) {
    SignalForwarding signals(InheritedConditions::capture(), [this](int signal) { note(signal); });
    EXPECT_EQ(signals.endingSignal(), std::nullopt);
    std::size_t sent = 0;
    for (const int signal : changed) {
        kill(getpid(), signal);
        ASSERT_TRUE(hasForwarded(++sent)) << signal;
    }
    EXPECT_EQ(forwarded(), changed);
    EXPECT_EQ(signals.endingSignal(), SIGHUP) << "the first that asks for the end";
}

TEST_F(SignalForwardingTest, OneThatDoesNotAskForTheEndIsNoEndingSignal) {
    SignalForwarding signals(InheritedConditions::capture(), [this](int signal) { note(signal); });
    kill(getpid(), SIGUSR1);
    ASSERT_TRUE(hasForwarded(1));
    EXPECT_EQ(signals.endingSignal(), std::nullopt);
}

TEST_F(SignalForwardingTest, ASignalFromTheKernelIsNotForwarded) {
    SignalForwarding signals(InheritedConditions::capture(), [this](int signal) { note(signal); });
    // An alarm comes from the kernel, as the signals of a terminal's keys do.
    const itimerval soon{.it_interval = {}, .it_value = {.tv_sec = 0, .tv_usec = 1000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    ASSERT_TRUE(waitUntil([] {
        itimerval left{};
        getitimer(ITIMER_REAL, &left);
        return left.it_value.tv_sec == 0 && left.it_value.tv_usec == 0;
    }));
    kill(getpid(), SIGUSR1);
    ASSERT_TRUE(hasForwarded(1));
    EXPECT_THAT(forwarded(), ElementsAre(SIGUSR1));
}

TEST_F(SignalForwardingTest, OneThatWasIgnoredAtTheStartStaysIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    SignalForwarding signals(InheritedConditions::capture(), [this](int signal) { note(signal); });
    kill(getpid(), SIGHUP);
    kill(getpid(), SIGUSR2);
    ASSERT_TRUE(hasForwarded(1));
    EXPECT_THAT(forwarded(), ElementsAre(SIGUSR2));
    EXPECT_EQ(signals.endingSignal(), std::nullopt);
}

} // namespace
} // namespace tavo
