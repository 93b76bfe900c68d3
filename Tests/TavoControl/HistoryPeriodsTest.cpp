#include "TavoControl/HistoryPeriods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Reason = RuntimeDecisionReason;

const TimePoint nine = *parseISO8601("2026-01-31T09:00:00Z");

TimePoint minute(int number) {
    return nine + std::chrono::minutes{number};
}

class HistoryPeriodsTest : public ::testing::Test {
protected:
    HistoryWriter tavo{.program = "tavo", .processID = 1, .startTime = 10, .isOnlyOne = true};
    HistoryWriter later{.program = "tavoctl run", .processID = 2, .startTime = 20, .isOnlyOne = true};
    HistoryWriter command{.program = "tavoctl exec", .processID = 3, .startTime = 30};
    std::vector<HistoryWriter> running;
    std::optional<TimePoint> lastSeen;

    static HistoryEntry start(const HistoryWriter& writer, int at, std::optional<TimePoint> seen = {}) {
        return {.event = HistoryEvent::start, .time = minute(at), .writer = writer, .lastSeen = seen};
    }
    static HistoryEntry awake(const HistoryWriter& writer, int at, const std::vector<std::string>& names = {}) {
        HistoryEntry entry{.time = minute(at), .writer = writer};
        entry.state = {.reason = Reason::active, .isAwake = true, .held = "idle (logind)"};
        for (const auto& name : names) {
            entry.state.processes.push_back({.processID = 7, .name = name});
        }
        return entry;
    }
    static HistoryEntry asleep(const HistoryWriter& writer, int at, Reason reason = Reason::noMatchingProcess) {
        return {.time = minute(at), .writer = writer, .state = {.reason = reason}};
    }
    static HistoryEntry end(const HistoryWriter& writer, int at) {
        return {.event = HistoryEvent::end, .time = minute(at), .writer = writer};
    }

    std::vector<AwakePeriod> periods(const std::vector<HistoryEntry>& entries) const {
        return awakePeriods(entries, {.now = minute(1000),
                                      .isRunning =
                                          [this](const HistoryWriter& writer) {
                                              return std::find(running.begin(), running.end(), writer) != running.end();
                                          },
                                      .lastSeen = lastSeen});
    }
    AwakePeriod only(const std::vector<HistoryEntry>& entries) const {
        const auto found = periods(entries);
        EXPECT_THAT(found, SizeIs(1));
        return found.empty() ? AwakePeriod{} : found.front();
    }
};

TEST_F(HistoryPeriodsTest, APeriodLastsFromTheFirstLockToTheDecisionThatReleasesIt) {
    const auto period = only({start(tavo, 0), asleep(tavo, 0), awake(tavo, 10, {"claude"}),
                              awake(tavo, 20, {"claude", "node"}), asleep(tavo, 30), end(tavo, 40)});
    EXPECT_EQ(period.from, minute(10));
    EXPECT_EQ(period.to, minute(30));
    EXPECT_THAT(period.names, ElementsAre("claude", "node"));
    EXPECT_EQ(period.ending, HistoryEnding::decision);
    EXPECT_EQ(endingText(period), "the last process ended");
    EXPECT_EQ(purposeText(period), "claude, node");
}

TEST_F(HistoryPeriodsTest, EveryReasonHasItsWords) {
    for (const auto& [reason, words] :
         std::vector<std::pair<Reason, std::string>>{{Reason::disabled, "switched off"},
                                                     {Reason::noMatchingProcess, "claude ended"},
                                                     {Reason::insufficientActivity, "claude was idle"},
                                                     {Reason::powerSourceMismatch, "the power source changed"},
                                                     {Reason::batteryCutoffReached, "the battery was low"},
                                                     {Reason::maxDurationReached, "the session limit was reached"},
                                                     {Reason::error, "an evaluation failed"},
                                                     {Reason::active, "the lock was lost"}}) {
        EXPECT_EQ(endingText(only({awake(tavo, 1, {"claude"}), asleep(tavo, 2, reason)})), words);
    }
}

TEST_F(HistoryPeriodsTest, AProperEndIsOne) {
    const auto period = only({start(tavo, 0), awake(tavo, 1), end(tavo, 5)});
    EXPECT_EQ(period.to, minute(5));
    EXPECT_EQ(endingText(period), "tavo ended");
    EXPECT_EQ(purposeText(period), "always on");
    auto told = end(tavo, 5);
    told.why = "45 minutes were over";
    EXPECT_EQ(endingText(only({awake(tavo, 1), told})), "45 minutes were over");
}

TEST_F(HistoryPeriodsTest, ARunThatStillRunsIsStillAwake) {
    running = {tavo};
    const auto period = only({start(tavo, 0), awake(tavo, 1)});
    EXPECT_EQ(period.to, minute(1000));
    EXPECT_EQ(period.ending, HistoryEnding::ongoing);
}

TEST_F(HistoryPeriodsTest, AKilledRunEndsWhereItWasLastSeenAtWork) {
    lastSeen = minute(77);
    auto period = only({start(tavo, 0), awake(tavo, 1)});
    EXPECT_EQ(period.to, minute(77));
    EXPECT_EQ(endingText(period), "tavo was killed, or the computer went down");
    lastSeen.reset();
    EXPECT_EQ(only({start(tavo, 0), awake(tavo, 1)}).to, minute(1)) << "nothing more is known";
    // Another process with its number is not that run.
    auto other = tavo;
    other.startTime = 11;
    running = {other};
    EXPECT_EQ(only({start(tavo, 0), awake(tavo, 1)}).ending, HistoryEnding::killed);
}

TEST_F(HistoryPeriodsTest, TheNextStartTellsHowLongAKilledRunWasAtWork) {
    running = {later};
    lastSeen = minute(900);
    const auto found = periods({start(tavo, 0), awake(tavo, 1), start(later, 100, minute(50)), awake(later, 101)});
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].to, minute(50));
    EXPECT_EQ(found[0].ending, HistoryEnding::killed);
    EXPECT_EQ(found[1].from, minute(101));
}

TEST_F(HistoryPeriodsTest, ACommandBesideARunningTavoEndsNothingOfIt) {
    running = {tavo};
    const auto found =
        periods({start(tavo, 0), awake(tavo, 1), start(command, 2), awake(command, 2, {"make"}), end(command, 3)});
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].ending, HistoryEnding::ongoing);
    EXPECT_EQ(endingText(found[1]), "tavoctl exec ended");
}

TEST_F(HistoryPeriodsTest, ASuspendSplitsAPeriod) {
    HistoryEntry suspend{.event = HistoryEvent::suspend, .time = minute(200), .writer = tavo};
    suspend.suspendedFrom = minute(100);
    suspend.suspendedSeconds = 99 * 60;
    const auto found = periods({awake(tavo, 1, {"claude"}), suspend, asleep(tavo, 300)});
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].to, minute(100));
    EXPECT_EQ(endingText(found[0]), "the computer was suspended");
    EXPECT_EQ(found[1].from, minute(199));
    EXPECT_EQ(found[1].to, minute(300));
    EXPECT_THAT(found[1].names, ElementsAre("claude"));
}

TEST_F(HistoryPeriodsTest, NonsenseInTheNumbersGivesNoNonsenseInTheTimes) {
    HistoryEntry suspend{.event = HistoryEvent::suspend, .time = minute(200), .writer = tavo};
    suspend.suspendedFrom = minute(100);
    for (const auto seconds : {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        suspend.suspendedSeconds = seconds;
        for (const auto& period : periods({awake(tavo, 150), suspend, asleep(tavo, 20)})) {
            EXPECT_LE(period.from, period.to);
        }
    }
}

TEST_F(HistoryPeriodsTest, LinesWhoseStartWasTurnedOverStillCount) {
    EXPECT_EQ(only({awake(tavo, 5), asleep(tavo, 6)}).from, minute(5));
    EXPECT_THAT(periods({asleep(tavo, 6), end(tavo, 7)}), IsEmpty());
}

TEST_F(HistoryPeriodsTest, ALongListOfNamesIsCut) {
    EXPECT_EQ(purposeText(only({awake(tavo, 5, {"a", "b", "c", "d", "e", "a"}), asleep(tavo, 6)})),
              "a, b, c and 2 more");
}

} // namespace
} // namespace tavo
