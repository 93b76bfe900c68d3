#include "runtime/WorkMonitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using testing::DoubleNear;
using testing::Optional;

/// Measures trees whose CPU time the test sets, on a clock that the test moves.
struct WorkMonitorTest : testing::Test {
    WorkMonitor monitor{WorkRequirement{}};
    TimePoint now = *parseISO8601("2026-01-31T09:00:00Z");

    static ProcessTreeMeasurement claude(double cpuTime, std::unordered_set<std::int32_t> members = {10}) {
        return {.rootPID = 10, .executableName = "claude", .totalCPUTime = cpuTime, .processIDs = std::move(members)};
    }
    static ProcessTreeMeasurement codex(double cpuTime) {
        return {.rootPID = 20, .executableName = "codex", .totalCPUTime = cpuTime, .processIDs = {20}};
    }

    const WorkActivity& look(const std::vector<ProcessTreeMeasurement>& trees) {
        monitor.look(trees, now);
        return *monitor.activity();
    }
    const WorkActivity& lookAfter(TimePoint::duration length, const std::vector<ProcessTreeMeasurement>& trees) {
        now += length;
        return look(trees);
    }
    WorkVerdict verdict() const { return monitor.activity()->trees.at(0).verdict; }
};

TEST_F(WorkMonitorTest, AFirstSightingCountsAsWorkAndStartsTheGrace) {
    const auto activity = look({claude(500)});
    EXPECT_EQ(verdict(), WorkVerdict::firstSighting);
    EXPECT_TRUE(activity.isWorking());
    EXPECT_EQ(activity.trees.at(0).cpuPercent, std::nullopt);
    EXPECT_EQ(activity.lastWorkAt, now);
}

TEST_F(WorkMonitorTest, TheFirstVerdictComesHalfAMinuteAfterTheFirstSighting) {
    look({claude(5)});
    EXPECT_EQ(monitor.secondsUntilNews(), 30.0);
    lookAfter(seconds{12}, {claude(5)});
    EXPECT_EQ(monitor.secondsUntilNews(), 18.0);
    EXPECT_EQ(verdict(), WorkVerdict::firstSighting);
    lookAfter(seconds{18}, {claude(5)});
    EXPECT_EQ(verdict(), WorkVerdict::idle);
}

TEST_F(WorkMonitorTest, MoreThanOnePercentOfACoreIsWorkAndExactlyOneIsNot) {
    look({claude(100)});
    EXPECT_FALSE(lookAfter(minutes{1}, {claude(100.6)}).isWorking());
    EXPECT_THAT(monitor.activity()->trees[0].cpuPercent, Optional(DoubleNear(1.0, 1e-9)));
    EXPECT_TRUE(lookAfter(minutes{1}, {claude(101.21)}).isWorking());
    EXPECT_EQ(verdict(), WorkVerdict::busy);
}

TEST_F(WorkMonitorTest, AgentsAreToldApartAsMeasured) {
    // Seconds of CPU time a minute: at the prompt, waiting for the model, answering.
    for (const auto& [used, isWorking] :
         {std::pair{0.21, false}, {0.12, false}, {5.8, true}, {10.4, true}, {2.0, true}, {1.3, true}}) {
        monitor.startOver();
        look({claude(40)});
        EXPECT_EQ(lookAfter(minutes{1}, {claude(40 + used)}).isWorking(), isWorking) << used;
    }
}

TEST_F(WorkMonitorTest, AnotherShareOfACoreMayBeAskedFor) {
    monitor = WorkMonitor({.busyPercent = 5});
    look({claude(0)});
    EXPECT_FALSE(lookAfter(minutes{1}, {claude(2.9)}).isWorking());
    EXPECT_TRUE(lookAfter(minutes{1}, {claude(6.0)}).isWorking());
}

TEST_F(WorkMonitorTest, ChangedMembersAreWorkToo) {
    look({claude(5, {10})});
    EXPECT_TRUE(lookAfter(minutes{1}, {claude(5, {10, 11})}).isWorking());
    EXPECT_EQ(verdict(), WorkVerdict::membersChanged);
    EXPECT_TRUE(monitor.activity()->trees[0].haveMembersChanged);
    EXPECT_FALSE(lookAfter(minutes{1}, {claude(5, {10, 11})}).isWorking());
    EXPECT_FALSE(monitor.activity()->trees[0].haveMembersChanged);
}

TEST_F(WorkMonitorTest, AChildThatEndsTakesItsTimeAlongAndCountsAsAChange) {
    look({claude(50, {10, 11})});
    lookAfter(minutes{1}, {claude(5, {10})});
    EXPECT_EQ(verdict(), WorkVerdict::membersChanged);
    EXPECT_EQ(monitor.activity()->trees[0].cpuPercent, 0.0);
}

TEST_F(WorkMonitorTest, ABusyTreeWhoseMembersChangedIsBusy) {
    look({claude(5, {10})});
    lookAfter(minutes{1}, {claude(15, {10, 11})});
    EXPECT_EQ(verdict(), WorkVerdict::busy);
    EXPECT_TRUE(monitor.activity()->trees[0].haveMembersChanged);
}

TEST_F(WorkMonitorTest, LooksInQuickSuccessionLeaveTheLastVerdictStanding) {
    look({claude(0)});
    lookAfter(minutes{1}, {claude(10)});
    const auto worked = now;
    for (int step = 0; step < 29; ++step) {
        EXPECT_TRUE(lookAfter(seconds{1}, {claude(10, {10, 99})}).isWorking());
    }
    EXPECT_EQ(monitor.activity()->lastWorkAt, worked);
    lookAfter(seconds{1}, {claude(10)});
    EXPECT_EQ(verdict(), WorkVerdict::idle);
    for (int step = 0; step < 29; ++step) {
        EXPECT_FALSE(lookAfter(seconds{1}, {claude(1000)}).isWorking());
    }
    EXPECT_TRUE(lookAfter(seconds{1}, {claude(1000)}).isWorking());
}

TEST_F(WorkMonitorTest, ManyQuickLooksDoNotPutTheNextVerdictOff) {
    look({claude(0)});
    for (int step = 0; step < 300; ++step) {
        lookAfter(milliseconds{100}, {claude(0)});
    }
    EXPECT_EQ(verdict(), WorkVerdict::idle);
}

TEST_F(WorkMonitorTest, EachTreeIsComparedWithItsOwnPast) {
    look({claude(0)});
    lookAfter(seconds{20}, {claude(0), codex(100)});
    EXPECT_EQ(monitor.secondsUntilNews(), 10.0);
    const auto& activity = lookAfter(seconds{10}, {claude(0), codex(100)});
    EXPECT_EQ(activity.trees.at(0).verdict, WorkVerdict::idle);
    EXPECT_EQ(activity.trees.at(1).verdict, WorkVerdict::firstSighting);
    EXPECT_EQ(monitor.secondsUntilNews(), 20.0);
}

TEST_F(WorkMonitorTest, ThePauseIsCountedFromTheLastWorkOfAnyTree) {
    look({claude(0), codex(0)});
    lookAfter(minutes{1}, {claude(5), codex(0)});
    const auto worked = now;
    lookAfter(minutes{1}, {claude(5), codex(0)});
    EXPECT_EQ(monitor.activity()->lastWorkAt, worked);
    EXPECT_TRUE(monitor.activity()->isWithinGrace(now));
    for (int minute = 2; minute < 10; ++minute) {
        EXPECT_TRUE(lookAfter(minutes{1}, {claude(5), codex(0)}).isWithinGrace(now));
    }
    EXPECT_FALSE(lookAfter(minutes{1}, {claude(5), codex(0)}).isWithinGrace(now));
}

TEST_F(WorkMonitorTest, ALookIsDueWhenTheGraceEnds) {
    monitor = WorkMonitor({.grace = seconds{75}});
    look({claude(0)});
    lookAfter(minutes{1}, {claude(0)});
    EXPECT_EQ(monitor.secondsUntilNews(), 15.0);
    lookAfter(seconds{15}, {claude(0)});
    EXPECT_FALSE(monitor.activity()->isWithinGrace(now));
    EXPECT_EQ(monitor.secondsUntilNews(), std::nullopt);
}

TEST_F(WorkMonitorTest, WhileSomethingWorksTheOrdinaryRhythmWillDo) {
    look({claude(0)});
    lookAfter(minutes{1}, {claude(50)});
    EXPECT_EQ(monitor.secondsUntilNews(), std::nullopt);
}

TEST_F(WorkMonitorTest, AProgramThatComesBackIsSeenForTheFirstTime) {
    look({claude(0)});
    lookAfter(minutes{1}, {claude(0)});
    lookAfter(minutes{1}, {});
    EXPECT_EQ(monitor.activity()->lastWorkAt, std::nullopt);
    EXPECT_FALSE(monitor.activity()->isWithinGrace(now));
    lookAfter(minutes{1}, {claude(0)});
    EXPECT_EQ(verdict(), WorkVerdict::firstSighting);
    EXPECT_EQ(monitor.activity()->lastWorkAt, now);
}

TEST_F(WorkMonitorTest, AClockSetBackNeitherWedgesTheGraceNorInventsWork) {
    look({claude(0)});
    lookAfter(minutes{1}, {claude(0)});
    ASSERT_TRUE(monitor.activity()->isWithinGrace(now));
    lookAfter(-hours{24}, {claude(0)});
    EXPECT_EQ(verdict(), WorkVerdict::idle);
    EXPECT_EQ(monitor.activity()->graceText(now), "idle for 1 minute, sleeping allowed in 9");
    EXPECT_EQ(monitor.secondsUntilNews(), 30.0);
    lookAfter(seconds{30}, {claude(20)});
    EXPECT_EQ(verdict(), WorkVerdict::busy);
    EXPECT_EQ(monitor.activity()->lastWorkAt, now);
}

TEST_F(WorkMonitorTest, AClockSetForwardOrANightAsleepCountsAsNoTimeAtAll) {
    look({claude(0)});
    lookAfter(minutes{1}, {claude(5)});
    ASSERT_EQ(verdict(), WorkVerdict::busy);
    lookAfter(hours{8}, {claude(5.1)});
    EXPECT_EQ(verdict(), WorkVerdict::busy);
    EXPECT_EQ(monitor.activity()->lastWorkAt, now);
    lookAfter(seconds{30}, {claude(5.1)});
    EXPECT_EQ(verdict(), WorkVerdict::idle);
    EXPECT_TRUE(monitor.activity()->isWithinGrace(now));
    lookAfter(hours{8}, {claude(5.1)});
    EXPECT_EQ(monitor.activity()->graceText(now), "idle for 30 seconds, sleeping allowed in 10 minutes");
}

TEST_F(WorkMonitorTest, StartingOverForgetsEverything) {
    look({claude(0)});
    monitor.startOver();
    EXPECT_EQ(monitor.activity(), std::nullopt);
    EXPECT_EQ(monitor.secondsUntilNews(), std::nullopt);
    lookAfter(minutes{1}, {claude(0)});
    EXPECT_EQ(verdict(), WorkVerdict::firstSighting);
}

} // namespace
} // namespace tavo
