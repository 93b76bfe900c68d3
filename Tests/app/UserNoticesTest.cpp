#include "app/UserNotices.h"

#include "app/TavoAppModelTesting.h"
#include "runtime/macos/CaffeinateCommandRunner.h"

namespace tavo {
namespace {

class UserNoticesTest : public TavoAppModelTest {
protected:
    UserNotices notices() const { return UserNotices::of(*model); }
    std::optional<std::string> look() { return watch.look(*model); }

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

TEST_F(UserNoticesTest, WhatIsHeldLessThanPlannedIsAWarning) {
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
    EXPECT_EQ(look(), std::nullopt);
    power->status.batteryPercent = 20;
    model->evaluateNow();
    EXPECT_EQ(look(), "battery protected: battery 20%");
    EXPECT_EQ(look(), std::nullopt) << "once";
    power->status.batteryPercent = 19;
    model->evaluateNow();
    EXPECT_EQ(look(), std::nullopt) << "still the same end";
}

TEST_F(UserNoticesTest, AnErrorThatEndsKeepingAwakeIsTold) {
    startWith(enabled());
    look();
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    model->evaluateNow();
    EXPECT_EQ(look(), "needs attention: no means.");
}

TEST_F(UserNoticesTest, ALostLockThatCannotBeTakenAgainIsTold) {
    assertions = std::make_shared<CaffeinateCommandRunner>(runner, assertionStatus);
    startWith(enabled());
    look();
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    loop->runPosted();
    EXPECT_EQ(look(), std::nullopt) << "a new one may be held in a second";
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(look(), "needs attention: no means.");
}

TEST_F(UserNoticesTest, AnErrorThatLeavesTheMachineAwakeIsNotTold) {
    auto config = watching(TriggerPreset::codex);
    table->processes = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}};
    startWith(config);
    look();
    table->failure = std::make_exception_ptr(std::runtime_error("no table."));
    model->evaluateNow();
    EXPECT_EQ(look(), std::nullopt);
}

TEST_F(UserNoticesTest, WhatTheUserDidIsNotTold) {
    auto config = enabled();
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    startWith(config);
    look();
    power->status = {.source = CurrentPowerSource::battery};
    model->evaluateNow();
    EXPECT_EQ(look(), std::nullopt) << "unplugged";
    power->status = {.source = CurrentPowerSource::ac};
    model->evaluateNow();
    look();
    model->toggleEnabled();
    EXPECT_EQ(look(), std::nullopt) << "switched off";
    model->toggleEnabled();
    look();
    edit([](AppConfig& draft) { draft.trigger = defaultRule(TriggerPreset::codex); });
    model->saveDraft();
    EXPECT_EQ(look(), std::nullopt) << "another trigger";
}

} // namespace
} // namespace tavo
