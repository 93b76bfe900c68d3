#include "runtime/HistoryRecorder.h"

#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class HistoryRecorderTest : public ::testing::Test {
protected:
    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "history.jsonl";
    TimePoint now = *parseISO8601("2026-01-31T09:00:00Z");
    std::chrono::seconds suspended{100};
    std::vector<std::string> failures;
    HistoryWriter writer{.program = "tavo", .processID = 12, .startTime = 34, .isOnlyOne = true};
    HistoryRecorder recorder{HistoryFile(path), writer, [this] { return suspended; },
                             [this](const std::string& text) { failures.push_back(text); }};

    static HistoryState awake() {
        return {.reason = RuntimeDecisionReason::active,
                .isAwake = true,
                .processes = {{.processID = 7, .name = "claude"}},
                .held = "idle (logind)"};
    }

    std::vector<HistoryEntry> entries() const { return HistoryFile(path).read().entries; }

    void recordEveryMinute(const HistoryState& state, int minutes) {
        for (int minute = 0; minute < minutes; ++minute) {
            now += std::chrono::minutes{1};
            recorder.record(state, now);
        }
    }
};

TEST_F(HistoryRecorderTest, AnHourOfEvaluationsThatChangeNothingIsOneLine) {
    recorder.begin(now);
    recordEveryMinute(awake(), 60);
    EXPECT_THAT(entries(), SizeIs(2));
}

TEST_F(HistoryRecorderTest, EachChangeOfReasonProcessesOrWhatIsHeldIsALine) {
    recorder.begin(now);
    auto state = awake();
    recorder.record(state, now);
    state.held = "idle:sleep (logind)";
    recorder.record(state, now);
    state.processes.push_back({.processID = 8, .name = "node"});
    recorder.record(state, now);
    state.processes.front().processID = 9;
    recorder.record(state, now);
    state.isAwake = false;
    state.reason = RuntimeDecisionReason::batteryCutoffReached;
    recorder.record(state, now);
    recorder.end(now);
    const auto written = entries();
    ASSERT_THAT(written, SizeIs(7));
    EXPECT_EQ(written.front().event, HistoryEvent::start);
    EXPECT_EQ(written[5].state.reason, RuntimeDecisionReason::batteryCutoffReached);
    EXPECT_EQ(written.back().event, HistoryEvent::end);
    for (const auto& entry : written) {
        EXPECT_EQ(entry.writer, writer) << "each line says whose it is";
    }
}

TEST_F(HistoryRecorderTest, TheOrderOfTheProcessesIsNoChange) {
    recorder.begin(now);
    auto state = awake();
    state.processes.push_back({.processID = 8, .name = "node"});
    recorder.record(state, now);
    std::swap(state.processes[0], state.processes[1]);
    recorder.record(state, now);
    EXPECT_THAT(entries(), SizeIs(2));
}

TEST_F(HistoryRecorderTest, NamesAreWrittenAndCommandLinesAreNot) {
    const auto processes =
        historyProcesses({{.pid = 7, .executableName = "claude", .commandLine = "claude --token s3cret"}});
    EXPECT_THAT(processes, ElementsAre(HistoryProcess{.processID = 7, .name = "claude"}));
    recorder.record({.processes = processes}, now);
    EXPECT_THAT(fileContent(path), HasSubstr("claude"));
    EXPECT_THAT(fileContent(path), Not(HasSubstr("s3cret")));
}

TEST_F(HistoryRecorderTest, ASuspendWhileSomethingWasHeldIsALine) {
    recorder.begin(now);
    recordEveryMinute(awake(), 2);
    const auto before = now;
    suspended += std::chrono::hours{3};
    now += std::chrono::hours{3};
    recordEveryMinute(awake(), 2);
    const auto written = entries();
    ASSERT_THAT(written, SizeIs(3));
    EXPECT_EQ(written.back().event, HistoryEvent::suspend);
    EXPECT_EQ(written.back().suspendedFrom, before);
    EXPECT_EQ(written.back().suspendedSeconds, 3 * 3600);
}

TEST_F(HistoryRecorderTest, ASuspendWhileNothingWasHeldIsNone) {
    recorder.begin(now);
    recordEveryMinute({.reason = RuntimeDecisionReason::noMatchingProcess}, 2);
    suspended += std::chrono::hours{3};
    recordEveryMinute({.reason = RuntimeDecisionReason::noMatchingProcess}, 2);
    EXPECT_THAT(entries(), SizeIs(2));
}

TEST_F(HistoryRecorderTest, ASuspendOfLessThanFiveSecondsIsNone) {
    recorder.begin(now);
    recordEveryMinute(awake(), 1);
    suspended += std::chrono::seconds{4};
    recordEveryMinute(awake(), 1);
    EXPECT_THAT(entries(), SizeIs(2));
    suspended += std::chrono::seconds{5};
    recordEveryMinute(awake(), 1);
    ASSERT_THAT(entries(), SizeIs(3));
    EXPECT_EQ(entries().back().suspendedSeconds, 5);
}

TEST_F(HistoryRecorderTest, TheStartSaysWhenTheRunBeforeWasLastSeen) {
    recorder.begin(now, now - std::chrono::hours{1});
    ASSERT_THAT(entries(), SizeIs(1));
    EXPECT_EQ(entries().front().lastSeen, now - std::chrono::hours{1});
    EXPECT_EQ(entries().front().time, now);
}

TEST_F(HistoryRecorderTest, TheEndSaysWhyAndComesAfterTheSuspendBeforeIt) {
    recorder.begin(now);
    recordEveryMinute(awake(), 1);
    suspended += std::chrono::hours{1};
    recorder.end(now + std::chrono::hours{1}, "45 minutes are over");
    const auto written = entries();
    ASSERT_THAT(written, SizeIs(4));
    EXPECT_EQ(written[2].event, HistoryEvent::suspend);
    EXPECT_EQ(written[2].suspendedFrom, now);
    EXPECT_EQ(written[3].why, "45 minutes are over");
}

TEST_F(HistoryRecorderTest, AProcessBeyondThoseThatFitOnTheLineIsNoChange) {
    auto state = awake();
    for (std::size_t number = 0; number < HistoryEntry::maxProcesses + 2; ++number) {
        state.processes.push_back({.processID = static_cast<std::int32_t>(100 + number), .name = "node"});
    }
    recorder.record(state, now);
    state.processes.pop_back();
    recorder.record(state, now);
    ASSERT_THAT(entries(), SizeIs(1));
    EXPECT_THAT(entries().front().state.processes, SizeIs(HistoryEntry::maxProcesses));
    state.processes.resize(HistoryEntry::maxProcesses - 1);
    recorder.record(state, now);
    EXPECT_THAT(entries(), SizeIs(2));
}

TEST_F(HistoryRecorderTest, AFailureIsSaidOnceAndTheStateIsWrittenAsSoonAsThatIsPossible) {
    std::filesystem::create_directory(path);
    recorder.begin(now);
    recordEveryMinute(awake(), 5);
    EXPECT_THAT(failures, ElementsAre(HasSubstr("the history cannot be written: ")));
    std::filesystem::remove(path);
    EXPECT_THAT(entries(), IsEmpty());
    recordEveryMinute(awake(), 5);
    ASSERT_THAT(entries(), SizeIs(1));
    EXPECT_EQ(entries().front().state, awake());
    EXPECT_THAT(failures, SizeIs(1));
}

} // namespace
} // namespace tavo
