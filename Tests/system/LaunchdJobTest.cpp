#include "system/LaunchdJob.h"

#include "Support/ScriptedCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <system_error>

namespace tavo {
namespace {

using std::chrono::microseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class LaunchdJob : public testing::Test {
protected:
    void wait() {
        waitUntilLaunchdForgets("gui/501/com.vrd.tavo", *runner, [this](microseconds time) { pauses.push_back(time); });
    }

    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::vector<microseconds> pauses;
};

TEST_F(LaunchdJob, OneThatIsNotKnownIsNotWaitedFor) {
    runner->results = {{.exitCode = 113, .standardError = "Could not find service"}};
    wait();
    EXPECT_THAT(*runner->log, ElementsAre("run /bin/launchctl print gui/501/com.vrd.tavo"));
    EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(LaunchdJob, OneThatIsStillEndingIsAskedAboutUntilItIsGone) {
    runner->results = {{}, {}, {.exitCode = 113}};
    wait();
    EXPECT_EQ(runner->log->size(), 3U);
    EXPECT_EQ(pauses.size(), 2U);
}

TEST_F(LaunchdJob, OneThatNeverGoesIsWaitedForTenSeconds) {
    wait();
    EXPECT_EQ(std::accumulate(pauses.begin(), pauses.end(), microseconds{0}), std::chrono::seconds(10));
}

TEST_F(LaunchdJob, ALaunchctlThatCannotBeRunIsTheRunnersError) {
    runner->failure = std::make_exception_ptr(std::system_error(ENOENT, std::generic_category(), "launchctl"));
    EXPECT_THROW(wait(), std::system_error);
}

TEST(LaunchdMessages, ARefusalToLoadIsKnownByItsNumberAlone) {
    EXPECT_TRUE(saysThatLaunchdRefusedToLoad("Bootstrap failed: 5: Input/output error"));
    EXPECT_TRUE(saysThatLaunchdRefusedToLoad("0:414: execution error: Bootstrap failed: 5: Input/output error\n"
                                             "Try re-running the command as root for richer errors. (5)"));
    for (const auto* other :
         {"", "0:414: execution error: User canceled. (-128)", "Bootstrap failed: 53: Software caused connection abort",
          "Bootstrap failed: 119: Service is disabled", "execution error: Input/output error (5)",
          "Could not kickstart service: 5: Input/output error"}) {
        EXPECT_FALSE(saysThatLaunchdRefusedToLoad(other)) << other;
    }
}

} // namespace
} // namespace tavo
