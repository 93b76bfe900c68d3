#include "TavoPrivilegedHelper/HelperLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

using testing::ElementsAre;

class BoundedLogging : public testing::Test {
protected:
    void writeBurst() {
        for (std::size_t count = 0; count < BoundedLog::burst; ++count) {
            log.write("burst");
        }
        lines.clear();
    }

    std::chrono::steady_clock::time_point now;
    std::vector<std::string> lines;
    BoundedLog log{[this](const std::string& line) { lines.push_back(line); }, [this] { return now; }};
};

TEST_F(BoundedLogging, PassesABurstOn) {
    for (std::size_t count = 0; count < BoundedLog::burst; ++count) {
        log.write("line");
    }
    EXPECT_EQ(lines.size(), BoundedLog::burst);
}

TEST_F(BoundedLogging, AfterABurstTellsHowManyLinesItHasLeftOut) {
    writeBurst();
    log.write("left out");
    log.write("left out");
    EXPECT_THAT(lines, ElementsAre());
    now += BoundedLog::interval;
    log.write("passed on");
    EXPECT_THAT(lines, ElementsAre("2 lines of this kind were left out.", "passed on"));
    log.write("left out again");
    EXPECT_EQ(lines.size(), 2U);
}

TEST_F(BoundedLogging, EarnsNoMoreThanOneBurst) {
    writeBurst();
    now += 1000 * BoundedLog::interval;
    for (std::size_t count = 0; count < 2 * BoundedLog::burst; ++count) {
        log.write("line");
    }
    EXPECT_EQ(lines.size(), BoundedLog::burst);
}

TEST_F(BoundedLogging, KeepsWhatIsLeftOfAnInterval) {
    writeBurst();
    for (int half = 0; half < 2; ++half) {
        now += std::chrono::milliseconds(BoundedLog::interval) / 2;
        log.write("line");
    }
    EXPECT_THAT(lines, ElementsAre("1 lines of this kind were left out.", "line"));
}

} // namespace
} // namespace tavo
