#include "TavoControl/HistoryCommand.h"

#include "TavoControl/CommandTest.h"
#include "base/JsonCoding.h"
#include "config/HistoryFile.h"
#include "system/ProcessStart.h"

#include <unistd.h>

namespace tavo {
namespace {

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
        return parseJson(
            printed([&] { EXPECT_EQ(printHistory({.since = since, .json = true}, *store), ExitStatus::success); }));
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
