#include "TavoPrivilegedHelper/SingleRemoval.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tavo {
namespace {

class Removal : public testing::Test {
protected:
    std::chrono::steady_clock::time_point now;
    int starts = 0;
    bool canStart = true;
    SingleRemoval removal{[this] {
                              if (!canStart) {
                                  throw std::runtime_error("no shell");
                              }
                              ++starts;
                          },
                          [this] { return now; }};
};

TEST_F(Removal, IsStartedOnceHoweverManyAskForIt) {
    for (int count = 0; count < 400; ++count) {
        removal.request();
    }
    EXPECT_EQ(starts, 1);
}

TEST_F(Removal, ThatCouldNotBeStartedIsTriedAgainAtOnce) {
    canStart = false;
    EXPECT_THROW(removal.request(), std::runtime_error);
    canStart = true;
    removal.request();
    EXPECT_EQ(starts, 1);
}

TEST_F(Removal, ThatHasRemovedNothingMayBeAskedForAgain) {
    removal.request();
    now += SingleRemoval::longest - std::chrono::milliseconds(1);
    removal.request();
    EXPECT_EQ(starts, 1);
    now += std::chrono::milliseconds(1);
    removal.request();
    EXPECT_EQ(starts, 2);
}

} // namespace
} // namespace tavo
