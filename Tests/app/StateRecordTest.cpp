#include "app/StateRecord.h"

#include "app/TavoAppModelTesting.h"

namespace tavo {
namespace {

TEST_F(TavoAppModelTest, AStateThatCannotBeWrittenCostsNoLockAndStopsNoEvaluation) {
    auto config = watching(TriggerPreset::codex);
    config.isEnabled = true;
    table->processes = {{.pid = 7, .parentPID = 1, .executableName = "codex", .commandLine = "codex"}};
    disk->hasNoRoomForState = true;
    goesOnWithoutState = true;
    startWith(config);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    EXPECT_TRUE(runner->children.back()->isRunning());
    EXPECT_EQ(model->evaluationFailure(), nullptr);
    EXPECT_EQ(model->lastError(), "could not write: no space left on device. tavo goes on all the same, but its status "
                                  "is out of date elsewhere.");
    // The lock goes with its reason, although that cannot be written down either.
    table->processes.clear();
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::noMatchingProcess);
    EXPECT_FALSE(runner->children.back()->isRunning());
    disk->hasNoRoomForState = false;
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(saved().lastDecisionReason, Reason::noMatchingProcess);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, AStateThatCannotBeWrittenIsAFailedEvaluationWhereNothingElseIsAsked) {
    disk->hasNoRoomForState = true;
    startWith(enabled());
    EXPECT_NE(model->evaluationFailure(), nullptr);
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::error);
    EXPECT_EQ(loop->armedTimers(), 0U);
    disk->hasNoRoomForState = false;
    model->evaluateNow();
    EXPECT_EQ(model->evaluationFailure(), nullptr);
    EXPECT_EQ(saved().lastDecisionReason, Reason::active);
}

TEST(StateRecord, KeepsTheProblemUntilAStateIsWritten) {
    const TemporaryDirectory folder;
    const auto disk = std::make_shared<FailingStore>(std::make_shared<TavoStore>(TavoPaths{folder.path()}));
    const StateRecord record(disk, StateRecord::Failures::areRemembered);
    record.saveRuntimeSnapshot({.isEnabled = true});
    EXPECT_EQ(record.problem(), std::nullopt);
    EXPECT_TRUE(record.loadRuntimeSnapshot().isEnabled);
    disk->hasNoRoomForState = true;
    record.saveRuntimeSnapshot({});
    EXPECT_TRUE(record.problem());
    EXPECT_TRUE(record.loadRuntimeSnapshot().isEnabled) << "the last one that could be written";
    disk->hasNoRoomForState = false;
    record.saveRuntimeSnapshot({});
    EXPECT_EQ(record.problem(), std::nullopt);
}

TEST(StateRecord, StopsTheCallerOnlyWhereThatIsWanted) {
    const TemporaryDirectory folder;
    const auto disk = std::make_shared<FailingStore>(std::make_shared<TavoStore>(TavoPaths{folder.path()}));
    const StateRecord record(disk, StateRecord::Failures::stopTheCaller);
    disk->hasNoRoomForState = true;
    EXPECT_ANY_THROW(record.saveRuntimeSnapshot({}));
    record.note({});
    EXPECT_TRUE(record.problem());
}

} // namespace
} // namespace tavo
