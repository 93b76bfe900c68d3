#include "TavoPrivilegedHelper/IdleExit.h"

#include "Support/ManualHelperTimers.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

class IdleExitTest : public testing::Test {
protected:
    std::shared_ptr<ManualHelperTimers> timers = std::make_shared<ManualHelperTimers>();
    bool isBusy = false;
    int ends = 0;
    IdleExit idle{timers, [this] { return isBusy; }, [this] { ++ends; }};
};

TEST_F(IdleExitTest, EndsAHelperThatHasHadNothingToDoForAMoment) {
    idle.check();
    timers->advance(IdleExit::delay - std::chrono::milliseconds{1});
    EXPECT_EQ(ends, 0);
    timers->advance(std::chrono::milliseconds{1});
    EXPECT_EQ(ends, 1);
}

TEST_F(IdleExitTest, EndsNoHelperThatIsBusy) {
    isBusy = true;
    idle.check();
    timers->advance(10 * IdleExit::delay);
    EXPECT_EQ(ends, 0);
    isBusy = false;
    idle.check();
    timers->advance(IdleExit::delay);
    EXPECT_EQ(ends, 1);
}

TEST_F(IdleExitTest, EndsNoHelperThatHasBecomeBusyMeanwhile) {
    idle.check();
    isBusy = true;
    timers->advance(10 * IdleExit::delay);
    EXPECT_EQ(ends, 0);
}

TEST_F(IdleExitTest, TheMomentBeginsAnewWithEveryCheck) {
    idle.check();
    timers->advance(IdleExit::delay - std::chrono::milliseconds{1});
    idle.check();
    timers->advance(IdleExit::delay - std::chrono::milliseconds{1});
    EXPECT_EQ(ends, 0);
    timers->advance(std::chrono::milliseconds{1});
    EXPECT_EQ(ends, 1);
}

TEST_F(IdleExitTest, AnEndThatFindsTheHelperBusyMayBeCheckedAgain) {
    IdleExit refusing(
        timers, [this] { return isBusy; },
        [&] {
            ++ends;
            isBusy = true;
            refusing.check();
        });
    refusing.check();
    timers->advance(10 * IdleExit::delay);
    EXPECT_EQ(ends, 1);
}

} // namespace
} // namespace tavo
