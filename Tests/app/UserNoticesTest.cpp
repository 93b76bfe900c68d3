#include "app/UserNotices.h"

#include "app/TavoAppModelTesting.h"
#include "runtime/macos/CaffeinateCommandRunner.h"

namespace tavo {
namespace {

class UserNoticesTest : public TavoAppModelTest {
protected:
    UserNotices notices() const { return UserNotices::of(*model); }
    std::optional<std::string> update() { return watch.update(*model); }

    AwakeEndWatch watch;
};

TEST_F(UserNoticesTest, WhenAllIsWellThereIsNothingToSay) {
    startWith(enabled());
    EXPECT_TRUE(notices().isEmpty());
}

TEST_F(UserNoticesTest, ABrokenFileIsSaidOnceThoughItIsTheLastErrorToo) {
    startWith({});
    folder.write("config.json", "{");
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    model->evaluateNow();
    ASSERT_EQ(notices().errors.size(), 1U);
    EXPECT_THAT(notices().errors[0], testing::StartsWith("config.json cannot be used: "));
    store->saveConfig({});
    model->evaluateNow();
    EXPECT_TRUE(notices().isEmpty()) << "it goes when it is resolved";
}

TEST_F(UserNoticesTest, AnotherErrorIsSaidBesideIt) {
    startWith(enabled());
    folder.write("config.json", "{");
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    model->evaluateNow();
    ASSERT_EQ(notices().errors.size(), 2U);
    EXPECT_EQ(notices().errors[1], "no means.");
}

TEST_F(UserNoticesTest, AnEditedFileThatWasKeptAsideIsAWarning) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 44; });
    store->saveConfig(enabled());
    model->saveDraft();
    EXPECT_THAT(notices().warnings, ElementsAre(testing::EndsWith("kept as config.json.edited.")));
}

TEST_F(UserNoticesTest, APlannedLockThatIsNotHeldIsAWarning) {
    startWith(enabled());
    assertionStatus->record(assertionStatus->open(),
                            {.service = AssertionService::logind, .what = "idle", .notice = "sleep was refused."});
    EXPECT_THAT(notices().warnings, ElementsAre("sleep was refused."));
    EXPECT_THAT(notices().withHint("no tray.").warnings, ElementsAre("sleep was refused.", "no tray."));
    EXPECT_EQ(notices().withHint(""), notices());
}

TEST_F(UserNoticesTest, TheBatteryCutoffIsTold) {
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 21};
    startWith(enabled());
    EXPECT_EQ(update(), std::nullopt);
    power->status.batteryPercent = 20;
    model->evaluateNow();
    EXPECT_EQ(update(), "battery protected: battery 20%");
    EXPECT_EQ(update(), std::nullopt) << "once";
    power->status.batteryPercent = 19;
    model->evaluateNow();
    EXPECT_EQ(update(), std::nullopt) << "still the same end";
}

TEST_F(UserNoticesTest, AnErrorThatEndsKeepingAwakeIsTold) {
    startWith(enabled());
    update();
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    model->evaluateNow();
    EXPECT_EQ(update(), "needs attention: no means.");
}

TEST_F(UserNoticesTest, ALostLockThatCannotBeTakenAgainIsTold) {
    assertions = std::make_shared<CaffeinateCommandRunner>(runner, assertionStatus);
    startWith(enabled());
    update();
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    loop->runPosted();
    EXPECT_EQ(update(), std::nullopt) << "a new one may be held in a second";
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(update(), "needs attention: no means.");
}

TEST_F(UserNoticesTest, AnErrorThatLeavesTheMachineAwakeIsNotTold) {
    auto config = watching(TriggerPreset::codex);
    table->processes = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}};
    startWith(config);
    update();
    table->failure = std::make_exception_ptr(std::runtime_error("no table."));
    model->evaluateNow();
    EXPECT_EQ(update(), std::nullopt);
}

TEST_F(UserNoticesTest, WhatTheUserDidIsNotAnnounced) {
    auto config = enabled();
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    startWith(config);
    update();
    power->status = {.source = CurrentPowerSource::battery};
    model->evaluateNow();
    EXPECT_EQ(update(), std::nullopt) << "unplugged";
    power->status = {.source = CurrentPowerSource::ac};
    model->evaluateNow();
    update();
    model->toggleEnabled();
    EXPECT_EQ(update(), std::nullopt) << "switched off";
    model->toggleEnabled();
    update();
    edit([](AppConfig& draft) { draft.trigger = defaultRule(TriggerPreset::codex); });
    model->saveDraft();
    EXPECT_EQ(update(), std::nullopt) << "another trigger";
}

} // namespace
} // namespace tavo
