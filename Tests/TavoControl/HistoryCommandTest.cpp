#include "TavoControl/HistoryCommand.h"

#include "Support/DescribedJson.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/PrintedLines.h"
#include "TavoControl/TimeZone.h"
#include "base/JsonCoding.h"
#include "config/HistoryFile.h"
#include "system/ProcessStart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::SizeIs;

TimePoint at(const std::string& text) {
    return *parseISO8601(text);
}

class HistoryReportTest : public ::testing::Test {
protected:
    TimeZone zone{TimeZone::centralEurope};
    PrintedLines output;
    HistoryFacts facts{
        .since = at("2026-01-30T12:00:00Z"), .now = at("2026-01-31T12:00:00Z"), .begun = at("2026-01-01T00:00:00Z")};

    void add(const std::string& from, const std::string& to, HistoryEnding ending) {
        facts.periods.push_back({.from = at(from),
                                 .to = at(to),
                                 .writer = {.program = "tavo", .processID = 12},
                                 .names = {"claude"},
                                 .held = "idle (logind)",
                                 .ending = ending,
                                 .reason = RuntimeDecisionReason::noMatchingProcess});
    }

    std::vector<std::string> lines() const { return HistoryReport(facts).lines(output.console()); }
};

TEST_F(HistoryReportTest, ATableThenTheDaysThenTheSum) {
    add("2026-01-30T20:00:00Z", "2026-01-30T20:45:00Z", HistoryEnding::decision);
    add("2026-01-30T22:30:00Z", "2026-01-31T00:30:00Z", HistoryEnding::killed);
    add("2026-01-31T11:00:00Z", "2026-01-31T12:00:00Z", HistoryEnding::ongoing);
    const auto printed = lines();
    ASSERT_THAT(printed, SizeIs(4 + 1 + 6 + 1 + 1));
    EXPECT_EQ(printed[0], "from              to                length      for     why it ended");
    EXPECT_EQ(printed[1], "2026-01-30 21:00  21:45             45 min      claude  claude ended");
    EXPECT_EQ(printed[2],
              "2026-01-30 23:30  2026-01-31 01:30  2 h 00 min  claude  tavo was killed, or the computer went "
              "down");
    EXPECT_EQ(printed[3], "2026-01-31 12:00  now               1 h 00 min  claude  still awake");
    EXPECT_EQ(printed[5], "friday 2026-01-30");
    EXPECT_EQ(printed.back(), "kept awake for 3 h 45 min of the last 24h.");
}

TEST_F(HistoryReportTest, PeriodsThatEndedBeforeAreLeftOut) {
    add("2026-01-29T20:00:00Z", "2026-01-29T20:45:00Z", HistoryEnding::decision);
    EXPECT_THAT(lines(), ElementsAre("nothing was kept awake within the last 24h."));
    EXPECT_EQ(describedJson("history", HistoryReport(facts).json())["periods"].size(), 0U);
}

TEST_F(HistoryReportTest, WithoutAHistoryItSaysWhoWritesOne) {
    facts.begun.reset();
    EXPECT_THAT(lines(), ElementsAre("there is no history yet: tavo and tavoctl run write it while they run."));
}

TEST_F(HistoryReportTest, SkippedLinesAreCounted) {
    facts.skippedLines = 1;
    EXPECT_THAT(lines(), Contains("one line of history.jsonl could not be read, and is left out."));
    facts.skippedLines = 2;
    EXPECT_THAT(lines(), Contains("2 lines of history.jsonl could not be read, and are left out."));
}

TEST_F(HistoryReportTest, JsonHasEachPeriodAndTheSum) {
    add("2026-01-30T20:00:00Z", "2026-01-30T20:45:00Z", HistoryEnding::decision);
    add("2026-01-31T11:00:00Z", "2026-01-31T12:00:00Z", HistoryEnding::ongoing);
    const auto json = describedJson("history", HistoryReport(facts).json());
    EXPECT_EQ(json["awakeSeconds"], 6300);
    EXPECT_EQ(json["skippedLines"], 0);
    EXPECT_EQ(json["since"], "2026-01-30T12:00:00Z");
    EXPECT_EQ(
        json["periods"][0],
        parseJson(R"json({"from":"2026-01-30T20:00:00Z","to":"2026-01-30T20:45:00Z","seconds":2700,"program":"tavo",
                            "processID":12,"names":["claude"],"held":"idle (logind)","ending":"decision",
                            "reason":"noMatchingProcess","text":"claude ended"
})json"));
    EXPECT_FALSE(json["periods"][1].contains("to"));
    EXPECT_FALSE(json["periods"][1].contains("reason"));
}

TEST_F(HistoryReportTest, ANameCannotSteerTheTerminal) {
    add("2026-01-31T11:00:00Z", "2026-01-31T12:00:00Z", HistoryEnding::decision);
    facts.periods.front().names = {"a\x1B[2Jb"};
    EXPECT_EQ(lines()[1], "2026-01-31 12:00  13:00  1 h 00 min  a^[[2Jb  a^[[2Jb ended");
}

class HistoryCommandTest : public CommandTest {
protected:
    HistoryFile file{store->paths().historyURL()};

    void writeAwake(std::int32_t processID, std::uint64_t startTime) const {
        HistoryEntry entry{
            .event = HistoryEvent::start,
            .time = std::chrono::system_clock::now() - std::chrono::hours{1},
            .writer = {.program = "tavo", .processID = processID, .startTime = startTime, .isOnlyOne = true}};
        file.append(entry);
        entry.event = HistoryEvent::change;
        entry.state = {.reason = RuntimeDecisionReason::active, .isAwake = true};
        file.append(entry);
    }

    Json history(std::chrono::seconds since = std::chrono::hours{24}) {
        return describedJson("history", printed([&] {
                                 EXPECT_EQ(printHistory({.since = since, .json = true}, *store), ExitStatus::success);
                             }));
    }
};

TEST_F(HistoryCommandTest, OfAFreshFolderItSaysThatThereIsNoneAndWritesNothing) {
    EXPECT_THAT(linesOf(printed([&] { printHistory({}, *store); })),
                ::testing::ElementsAre("there is no history yet: tavo and tavoctl run write it while they run."));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(HistoryCommandTest, AProcessThatIsThereIsStillAwakeAndOneWithItsNumberAloneWasKilled) {
    const auto start = processStart(getpid()).value();
    writeAwake(getpid(), start);
    EXPECT_EQ(history()["periods"][0]["ending"], "ongoing");
    std::filesystem::remove(store->paths().historyURL());
    writeAwake(getpid(), start + 1);
    EXPECT_EQ(history()["periods"][0]["ending"], "killed");
}

TEST_F(HistoryCommandTest, AKilledRunLastedUntilTheStateFilesLastEvaluation) {
    RuntimeSnapshot snapshot;
    snapshot.lastEvaluationDate = std::chrono::system_clock::now() - std::chrono::minutes{30};
    store->saveRuntimeSnapshot(snapshot);
    writeAwake(getpid(), processStart(getpid()).value() + 1);
    EXPECT_NEAR(history()["periods"][0]["seconds"].get<double>(), 1800, 2);
}

TEST_F(HistoryCommandTest, OnlyTheTimeThatWasAskedForCounts) {
    writeAwake(getpid(), processStart(getpid()).value());
    EXPECT_NEAR(history(std::chrono::minutes{20})["awakeSeconds"].get<double>(), 1200, 2);
}

} // namespace
} // namespace tavo
