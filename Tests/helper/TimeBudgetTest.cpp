#include "helper/TimeBudget.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using std::chrono::milliseconds;

class Budget : public testing::Test {
protected:
    std::chrono::steady_clock::time_point now;
    TimeBudget budget{milliseconds(3000), [this] { return now; }};
};

TEST_F(Budget, BoundsNothingWhileNoRequestIsServed) {
    now += std::chrono::hours(1);
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), milliseconds(2000));
}

TEST_F(Budget, AllWaitsOfARequestShareIt) {
    const TimeBudget::Request request(budget);
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), milliseconds(2000));
    now += milliseconds(1500);
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), milliseconds(1500));
    EXPECT_EQ(budget.boundOf(milliseconds(1000)), milliseconds(1000));
}

TEST_F(Budget, LeavesALittleForUndoing) {
    const TimeBudget::Request request(budget);
    now += std::chrono::hours(1);
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), TimeBudget::minWait);
}

TEST_F(Budget, EachRequestHasItsOwn) {
    {
        const TimeBudget::Request request(budget);
        now += milliseconds(2900);
    }
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), milliseconds(2000));
    const TimeBudget::Request next(budget);
    EXPECT_EQ(budget.boundOf(milliseconds(2000)), milliseconds(2000));
}

} // namespace
} // namespace tavo
