#include "runtime/ProcessWatcher.h"

#include "Support/ScriptedProcessTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Watcher : testing::Test {
    std::shared_ptr<ScriptedProcessTable> table = std::make_shared<ScriptedProcessTable>();
    ProcessWatcher watcher{table};
    TriggerRule busyCodex{.mode = TriggerMode::process,
                          .preset = {},
                          .matchStrategy = TriggerMatchStrategy::commandLineContains,
                          .query = "codex",
                          .requiresActivity = true};

    ProcessWatchResult evaluate(const TriggerRule& rule) { return watcher.evaluate(rule, TimePoint{}); }
};

using ProcessWatcherTest = Watcher;

ProcessSample codex(double cpuTime, std::int32_t pid = 10, std::int32_t parent = 1) {
    return {.pid = pid,
            .parentPID = parent,
            .cpuTimeSeconds = cpuTime,
            .executableName = "node",
            .commandLine = "node /usr/bin/codex"};
}

ProcessSample other(std::int32_t pid, std::int32_t parent, double cpuTime) {
    return {.pid = pid,
            .parentPID = parent,
            .cpuTimeSeconds = cpuTime,
            .executableName = "make",
            .commandLine = "make all"};
}

TriggerRule rule(TriggerMatchStrategy strategy, const std::string& query) {
    return {.mode = TriggerMode::process, .matchStrategy = strategy, .query = query};
}

TEST_F(ProcessWatcherTest, WithoutAMatchTheResultIsEmpty) {
    table->processes = {other(1, 0, 3)};
    const auto result = evaluate(busyCodex);
    EXPECT_EQ(result, ProcessWatchResult{});
    EXPECT_FALSE(result.isMatchFound());
    EXPECT_FALSE(result.hasActivity());
}

TEST_F(ProcessWatcherTest, FirstSightingSetsTheBaselineButIsNotActive) {
    table->processes = {codex(7.5), other(11, 10, 2.5)};
    const auto result = evaluate(busyCodex);
    EXPECT_THAT(
        result.matchedProcesses,
        ElementsAre(MatchedProcessSnapshot{.pid = 10, .executableName = "node", .commandLine = "node /usr/bin/codex"}));
    EXPECT_THAT(result.activeProcessIDs, IsEmpty());
    EXPECT_DOUBLE_EQ(result.totalCPUTimeDelta, 10.0);
}

TEST_F(ProcessWatcherTest, GrowthHasToExceedTheThreshold) {
    table->processes = {codex(0)};
    evaluate(busyCodex);
    table->processes = {codex(0.1)};
    EXPECT_THAT(evaluate(busyCodex).activeProcessIDs, IsEmpty());
    table->processes = {codex(0.1 + 0.11)};
    const auto result = evaluate(busyCodex);
    EXPECT_THAT(result.activeProcessIDs, ElementsAre(10));
    EXPECT_NEAR(result.totalCPUTimeDelta, 0.11, 1e-9);
}

TEST_F(ProcessWatcherTest, AChildThatStartedOrEndedMakesTheTreeActive) {
    table->processes = {codex(1)};
    evaluate(busyCodex);
    table->processes = {codex(1), other(11, 10, 0)};
    EXPECT_THAT(evaluate(busyCodex).activeProcessIDs, ElementsAre(10));
    EXPECT_THAT(evaluate(busyCodex).activeProcessIDs, IsEmpty());
    table->processes = {codex(1)};
    EXPECT_THAT(evaluate(busyCodex).activeProcessIDs, ElementsAre(10));
}

TEST_F(ProcessWatcherTest, AnExitedChildTakesItsTimeAndTheGrowthIsClamped) {
    table->processes = {codex(1), other(11, 10, 50)};
    evaluate(busyCodex);
    table->processes = {codex(2)};
    const auto result = evaluate(busyCodex);
    EXPECT_EQ(result.totalCPUTimeDelta, 0.0);
    EXPECT_THAT(result.activeProcessIDs, ElementsAre(10));
}

TEST_F(ProcessWatcherTest, WithoutTheRequirementEveryMatchIsActiveAtOnce) {
    table->processes = {codex(0), codex(0, 20)};
    busyCodex.requiresActivity = false;
    EXPECT_THAT(evaluate(busyCodex).activeProcessIDs, ElementsAre(10, 20));
}

TEST_F(ProcessWatcherTest, ARuleThatBeginsToRequireActivityComparesWithTheTreeAsItWas) {
    auto withoutRequirement = busyCodex;
    withoutRequirement.requiresActivity = false;
    table->processes = {codex(1), other(11, 10, 0), codex(1, 20), other(21, 20, 0)};
    evaluate(withoutRequirement);
    table->processes = {codex(1), codex(1, 20), other(21, 20, 0)};
    const auto result = evaluate(busyCodex);
    EXPECT_THAT(result.activeProcessIDs, ElementsAre(10)) << "the child of the other one is still there";
    EXPECT_EQ(result.totalCPUTimeDelta, 0.0);
}

TEST_F(ProcessWatcherTest, MatchesInEachOtherAreMeasuredAlikeWithAndWithoutTheRequirement) {
    auto withoutRequirement = busyCodex;
    withoutRequirement.requiresActivity = false;
    ProcessWatcher another(table);
    for (const double time : {1.0, 3.0, 2.0}) {
        table->processes = {codex(time), codex(time, 11, 10), other(12, 11, time), codex(time, 13, 12),
                            codex(1, 20, 20)};
        EXPECT_EQ(evaluate(busyCodex).totalCPUTimeDelta, another.evaluate(withoutRequirement, {}).totalCPUTimeDelta);
    }
}

TEST_F(ProcessWatcherTest, AChainOfManyMatchesHasTheTimesOfItsTrees) {
    auto withoutRequirement = busyCodex;
    withoutRequirement.requiresActivity = false;
    constexpr std::int32_t length = 200;
    constexpr std::int32_t firstPID = 10;
    table->processes.clear();
    for (std::int32_t index = 0; index < length; ++index) {
        table->processes.push_back(codex(1, firstPID + index, firstPID + index - 1));
    }
    // Each counts once for itself and for everything above it.
    EXPECT_EQ(evaluate(withoutRequirement).totalCPUTimeDelta, length * (length + 1) / 2);
    EXPECT_EQ(evaluate(busyCodex).totalCPUTimeDelta, 0.0);
    table->processes.back() = codex(3, firstPID + length - 1, firstPID + length - 2);
    EXPECT_EQ(evaluate(withoutRequirement).totalCPUTimeDelta, 2.0 * length);
}

TEST_F(ProcessWatcherTest, AMatchThatWentAwayStartsOver) {
    table->processes = {codex(1)};
    evaluate(busyCodex);
    table->processes = {};
    evaluate(busyCodex);
    table->processes = {codex(9)};
    const auto result = evaluate(busyCodex);
    EXPECT_THAT(result.activeProcessIDs, IsEmpty());
    EXPECT_DOUBLE_EQ(result.totalCPUTimeDelta, 9.0);
}

TEST_F(ProcessWatcherTest, AFailedSnapshotLeavesTheBaselines) {
    table->processes = {codex(1)};
    evaluate(busyCodex);
    table->failure = std::make_exception_ptr(ProcessWatcherError::malformedTimeValue("x"));
    EXPECT_THROW(evaluate(busyCodex), ProcessWatcherError);
    table->failure = nullptr;
    table->processes = {codex(2)};
    EXPECT_DOUBLE_EQ(evaluate(busyCodex).totalCPUTimeDelta, 1.0);
}

TEST_F(ProcessWatcherTest, AnExecutableNameIsComparedWhole) {
    table->processes = {{.pid = 1, .executableName = "Cursor", .commandLine = "/opt/Cursor"},
                        {.pid = 2, .executableName = "Cursor Helper", .commandLine = "/opt/Cursor Helper"}};
    const auto result = evaluate(rule(TriggerMatchStrategy::executableName, "cursor"));
    ASSERT_EQ(result.matchedProcesses.size(), 1U);
    EXPECT_EQ(result.matchedProcesses[0].pid, 1);
}

TEST_F(ProcessWatcherTest, ACommandLineIsSearchedWithoutRegardToCaseAndDiacritics) {
    table->processes = {{.pid = 1, .executableName = "codex", .commandLine = "/usr/local/bin/codex --full-auto"},
                        {.pid = 2, .executableName = "vi", .commandLine = "vi Cødex.txt"},
                        {.pid = 3, .executableName = "vi", .commandLine = "vi còdéx.txt"}};
    const auto result = evaluate(rule(TriggerMatchStrategy::commandLineContains, "CODEX"));
    ASSERT_EQ(result.matchedProcesses.size(), 2U);
    EXPECT_EQ(result.matchedProcesses[0].pid, 1);
    EXPECT_EQ(result.matchedProcesses[1].pid, 3);
}

TEST_F(ProcessWatcherTest, AQueryIsUsedAsItStands) {
    table->processes = {{.pid = 1, .executableName = "a", .commandLine = "a codex"}};
    EXPECT_FALSE(evaluate(rule(TriggerMatchStrategy::commandLineContains, "codex ")).isMatchFound());
}

TEST_F(ProcessWatcherTest, AnEmptyQueryMatchesNothing) {
    table->processes = {codex(1)};
    EXPECT_FALSE(evaluate(rule(TriggerMatchStrategy::commandLineContains, "")).isMatchFound());
}

TEST_F(ProcessWatcherTest, TheModeOfTheRuleIsNotLookedAt) {
    table->processes = {codex(1)};
    busyCodex.mode = TriggerMode::always;
    EXPECT_TRUE(evaluate(busyCodex).isMatchFound());
}

TEST_F(ProcessWatcherTest, AParentLoopIsMeasuredOnce) {
    table->processes = {codex(1, 10, 11), other(11, 10, 2)};
    EXPECT_DOUBLE_EQ(evaluate(busyCodex).totalCPUTimeDelta, 3.0);
}

TEST_F(ProcessWatcherTest, ANestedMatchIsARootOfItsOwn) {
    table->processes = {codex(1), codex(2, 20, 10), other(30, 20, 4)};
    const auto first = evaluate(busyCodex);
    EXPECT_DOUBLE_EQ(first.totalCPUTimeDelta, 7.0 + 6.0);
    table->processes = {codex(1), codex(2, 20, 10), other(30, 20, 5)};
    const auto second = evaluate(busyCodex);
    EXPECT_DOUBLE_EQ(second.totalCPUTimeDelta, 2.0);
    EXPECT_THAT(second.activeProcessIDs, ElementsAre(10, 20));
}

TEST_F(ProcessWatcherTest, AnIgnoredProcessTakesItsTreeAlong) {
    table->processes = {codex(1, 10), codex(1, 20, 10), codex(1, 30)};
    ProcessWatcher ignoring(table, 0.1, {10});
    const auto result = ignoring.evaluate(busyCodex, TimePoint{});
    ASSERT_EQ(result.matchedProcesses.size(), 1U);
    EXPECT_EQ(result.matchedProcesses[0].pid, 30);
}

TEST_F(ProcessWatcherTest, AnIgnoredTreeStillCountsInTheTreeOfAMatchAboveIt) {
    table->processes = {codex(1, 10), other(20, 10, 5)};
    ProcessWatcher ignoring(table, 0.1, {20});
    EXPECT_DOUBLE_EQ(ignoring.evaluate(busyCodex, TimePoint{}).totalCPUTimeDelta, 6.0);
}

} // namespace
} // namespace tavo
