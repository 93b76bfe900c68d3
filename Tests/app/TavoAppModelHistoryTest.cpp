#include "app/TavoAppModelTesting.h"
#include "config/HistoryFile.h"

namespace tavo {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class TavoAppModelHistoryTest : public TavoAppModelTest {
protected:
    std::filesystem::path historyFile = store->paths().historyURL();
    std::vector<std::string> failures;

    void startRecording(const AppConfig& config) {
        store->saveConfig(config);
        auto recording = platform();
        recording.history = std::make_shared<HistoryRecorder>(
            HistoryFile(historyFile), HistoryWriter{.program = "tavo", .processID = 12, .startTime = 34},
            [] { return std::chrono::seconds{0}; }, [this](const std::string& text) { failures.push_back(text); });
        model = TavoAppModel::make(loop, disk, std::move(recording), application);
        model->start();
        loop->runPosted();
    }

    std::vector<HistoryEntry> entries() const { return HistoryFile(historyFile).read().entries; }
};

TEST_F(TavoAppModelHistoryTest, ARunIsItsStartItsChangesAndItsEnd) {
    startRecording(watching(TriggerPreset::codex));
    loop->advance(std::chrono::hours{1});
    table->processes = {{.pid = 5, .executableName = "codex", .commandLine = "codex --key s3cret"}};
    loop->advance(std::chrono::hours{1});
    table->processes.clear();
    loop->advance(std::chrono::hours{1});
    model->quit();
    const auto written = entries();
    ASSERT_THAT(written, SizeIs(5));
    EXPECT_EQ(written[0].event, HistoryEvent::start);
    EXPECT_EQ(written[1].state.reason, Reason::noMatchingProcess);
    EXPECT_TRUE(written[2].state.isAwake);
    EXPECT_THAT(written[2].state.processes, ElementsAre(HistoryProcess{.processID = 5, .name = "codex"}));
    EXPECT_EQ(written[3].state.reason, Reason::noMatchingProcess);
    EXPECT_FALSE(written[3].state.isAwake);
    EXPECT_EQ(written[4].event, HistoryEvent::end);
    EXPECT_THAT(fileContent(historyFile), Not(HasSubstr("s3cret")));
}

TEST_F(TavoAppModelHistoryTest, AStartSaysWhenTheRunBeforeWasLastSeenAtWork) {
    RuntimeSnapshot last;
    last.lastEvaluationDate = *parseISO8601("2026-01-30T17:00:00Z");
    store->saveRuntimeSnapshot(last);
    startRecording({});
    EXPECT_EQ(entries().front().lastSeen, last.lastEvaluationDate);
}

TEST_F(TavoAppModelHistoryTest, AStoppedRunIsToldFromOneThatIsSwitchedOff) {
    startRecording(enabled());
    model->releaseEverything();
    EXPECT_TRUE(entries().back().state.isStopped);
    model->evaluateNow();
    EXPECT_TRUE(entries().back().state.isAwake);
    model->toggleEnabled();
    EXPECT_FALSE(entries().back().state.isStopped);
    EXPECT_EQ(entries().back().state.reason, Reason::disabled);
}

TEST_F(TavoAppModelHistoryTest, WhatIsHeldIsWrittenWhenTheDesktopAnswersLater) {
    startRecording(enabled());
    assertionStatus->record(
        assertionStatus->open(),
        {.service = AssertionService::gnome, .state = AssertionReportState::held, .what = "suspend"});
    loop->runPosted();
    EXPECT_EQ(entries().back().state.held, "suspend (gnome)");
}

TEST_F(TavoAppModelHistoryTest, AHistoryThatCannotBeWrittenCostsNoLock) {
    std::filesystem::create_directory(historyFile);
    startRecording(enabled());
    loop->advance(std::chrono::hours{1});
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_FALSE(model->lastError());
    EXPECT_THAT(failures, SizeIs(1));
    model->quit();
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
}

} // namespace
} // namespace tavo
