#include "app/TavoAppModelTesting.h"
#include "login/LaunchAtLoginManaging.h"

namespace tavo {
namespace {

TEST_F(TavoAppModelTest, SwitchingOnMeansAlwaysAndAllowsThePresentPowerSource) {
    auto config = watching(TriggerPreset::codex);
    config.isEnabled = false;
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    config.watchMode = WatchMode::open;
    startWith(config);
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 60};
    model->toggleEnabled();
    EXPECT_TRUE(model->config().isEnabled);
    EXPECT_EQ(model->config().trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(model->config().powerSourcePolicy, PowerSourcePolicy::any);
    EXPECT_EQ(store->loadConfig(), model->config());
    EXPECT_EQ(model->powerStatus(), power->status);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, SwitchingOnDiscardsUnsavedEdits) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 77; });
    model->toggleEnabled();
    EXPECT_EQ(model->draftConfig(), model->config());
    EXPECT_EQ(model->config().batteryCutoffPercent, AppConfig::defaultBatteryCutoffPercent);
}

TEST_F(TavoAppModelTest, SwitchingOffKeepsUnsavedEdits) {
    startWith(watching(TriggerPreset::always));
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 77; });
    model->toggleEnabled();
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_FALSE(model->draftConfig().isEnabled);
    EXPECT_EQ(model->draftConfig().batteryCutoffPercent, 77);
    EXPECT_EQ(model->config().batteryCutoffPercent, AppConfig::defaultBatteryCutoffPercent);
    EXPECT_EQ(store->loadConfig(), model->config());
}

TEST_F(TavoAppModelTest, SwitchingOffReleasesAtOnceAndKeepsEvaluating) {
    startWith(enabled());
    model->toggleEnabled();
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
    EXPECT_EQ(saved(), model->runtimeSnapshot());
    EXPECT_EQ(loop->armedTimers(), 1U);
    EXPECT_EQ(model->runtimeStatusCopy(), (RuntimeStatusCopy{"paused", "tavo is off"}));
}

TEST_F(TavoAppModelTest, SwitchingOffStaysOffThoughItCannotBeSaved) {
    startWith(enabled());
    disk->hasNoRoomForConfig = true;
    model->toggleEnabled();
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
    loop->advance(std::chrono::minutes{10});
    EXPECT_FALSE(model->config().isEnabled) << "the file still says otherwise";
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
    disk->hasNoRoomForConfig = false;
    loop->advance(std::chrono::seconds{60});
    EXPECT_FALSE(store->loadConfig().isEnabled);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, SwitchingOnHoldsThoughItCannotBeSavedAndSaysSo) {
    startWith({});
    disk->hasNoRoomForConfig = true;
    model->toggleEnabled();
    EXPECT_TRUE(model->config().isEnabled);
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
}

TEST_F(TavoAppModelTest, AnEditOfTheFileOutranksASaveThatFailed) {
    startWith(enabled());
    disk->hasNoRoomForConfig = true;
    model->toggleEnabled();
    auto edited = enabled();
    edited.batteryCutoffPercent = 33;
    store->saveConfig(edited);
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->config(), edited);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, ASwitchOffThatTheStateFileDoesNotTakeIsTriedAgain) {
    startWith(enabled());
    disk->hasNoRoomForState = true;
    model->toggleEnabled();
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
    EXPECT_FALSE(runner->children.back()->isRunning());
    EXPECT_EQ(loop->armedTimers(), 1U);
    disk->hasNoRoomForState = false;
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(saved().lastDecisionReason, Reason::disabled);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, ADraftIsOnlyInForceOnceItIsSaved) {
    startWith(enabled());
    edit([](AppConfig& draft) { draft.trigger = defaultRule(TriggerPreset::codex); });
    EXPECT_TRUE(model->hasUnsavedEdits());
    EXPECT_TRUE(has(changes.back(), ModelProperty::draftConfig));
    EXPECT_FALSE(has(changes.back(), ModelProperty::config));
    loop->advance(std::chrono::minutes{3});
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    model->saveDraft();
    EXPECT_FALSE(model->hasUnsavedEdits());
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::noMatchingProcess);
    EXPECT_EQ(store->loadConfig(), watching(TriggerPreset::codex));
}

TEST_F(TavoAppModelTest, SavingOverwritesWhatIsFixed) {
    startWith({});
    edit([](AppConfig& draft) {
        draft.pollIntervalSeconds = 5;
        draft.maxAwakeDuration = MaxAwakeDuration::oneHour;
    });
    model->saveDraft();
    EXPECT_EQ(model->config().pollIntervalSeconds, 60);
    EXPECT_EQ(model->config().maxAwakeDuration, MaxAwakeDuration::none);
    EXPECT_EQ(model->draftConfig(), model->config());
    EXPECT_EQ(store->loadConfig(), model->config());
}

TEST_F(TavoAppModelTest, SavingTrimsTheQuery) {
    startWith({});
    edit([](AppConfig& draft) { draft.trigger = {.mode = TriggerMode::process, .query = " make\n"}; });
    model->saveDraft();
    EXPECT_EQ(model->config().trigger.query, "make");
}

TEST_F(TavoAppModelTest, ADraftThatIsRefusedChangesNothing) {
    struct Row {
        std::function<void(AppConfig&)> edit;
        std::string error;
    };
    startWith(enabled());
    const auto text = configText();
    const std::vector<Row> rows{
        {[](AppConfig& draft) { draft.batteryCutoffPercent = 0; },
         "battery cutoff percent must be between 1 and 100. received 0."},
        {[](AppConfig& draft) { draft.batteryCutoffPercent = 101; },
         "battery cutoff percent must be between 1 and 100. received 101."},
        {[](AppConfig& draft) { draft.trigger = {.mode = TriggerMode::process, .query = " \n"}; },
         "trigger query must not be empty."},
    };
    for (const auto& row : rows) {
        model->revertDraft();
        edit(row.edit);
        const auto draft = model->draftConfig();
        model->saveDraft();
        EXPECT_EQ(model->lastError(), row.error);
        EXPECT_EQ(model->draftConfig(), draft);
        EXPECT_EQ(model->config(), enabled());
        EXPECT_EQ(configText(), text);
    }
}

TEST_F(TavoAppModelTest, WithoutACutoffADraftIsFine) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent.reset(); });
    model->saveDraft();
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(store->loadConfig().batteryCutoffPercent, std::nullopt);
}

TEST_F(TavoAppModelTest, RevertingTakesTheEditsAndTheErrorBack) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 0; });
    model->saveDraft();
    model->revertDraft();
    EXPECT_EQ(model->draftConfig(), model->config());
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, SavingWhileSwitchedOffKeepsNothingAwake) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 40; });
    model->saveDraft();
    EXPECT_THAT(*runner->log, IsEmpty());
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, WithUnsavedEditsAChangedFileIsNotReloaded) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 40; });
    store->saveConfig(enabled());
    loop->advance(std::chrono::minutes{3});
    EXPECT_FALSE(model->config().isEnabled);
    model->revertDraft();
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->config(), enabled());
    EXPECT_EQ(model->draftConfig(), enabled());
}

TEST_F(TavoAppModelTest, LaunchAtLoginFollowsTheDraftThatIsSaved) {
    startWith({});
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    EXPECT_FALSE(login->program);
    model->saveDraft();
    EXPECT_EQ(login->program, "/opt/tavo/bin/tavo");
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = false; });
    model->saveDraft();
    EXPECT_FALSE(login->program);
    EXPECT_FALSE(store->loadConfig().launchAtLoginEnabled);
}

TEST_F(TavoAppModelTest, LaunchAtLoginIsLeftAloneWhenItIsNotWhatChanged) {
    startWith({});
    login->failure = std::make_exception_ptr(LoginLaunchManagerError::bootstrapFailed("asked."));
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 40; });
    model->saveDraft();
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, AFailedLaunchAtLoginStopsTheSave) {
    startWith({});
    login->failure = std::make_exception_ptr(LoginLaunchManagerError::bootstrapFailed("not today."));
    edit([](AppConfig& draft) {
        draft.launchAtLoginEnabled = true;
        draft.batteryCutoffPercent = 40;
    });
    model->saveDraft();
    EXPECT_EQ(model->lastError(), "not today.");
    EXPECT_EQ(model->config(), AppConfig::defaultConfig());
    EXPECT_TRUE(model->draftConfig().launchAtLoginEnabled);
    EXPECT_EQ(store->loadConfig(), AppConfig::defaultConfig());
}

TEST_F(TavoAppModelTest, LaunchAtLoginThatTakesTimeIsWaitedForInTheBackgroundAndSavedAfterwards) {
    startWith({});
    bool wasInBackground = false;
    login->remainder = [&] { wasInBackground = loop->isInBackground; };
    edit([](AppConfig& draft) {
        draft.launchAtLoginEnabled = true;
        draft.batteryCutoffPercent = 40;
    });
    model->saveDraft();
    EXPECT_EQ(model->config(), AppConfig::defaultConfig()) << "not before the system has done its part";
    EXPECT_EQ(model->lastError(), std::nullopt);
    loop->runPosted();
    EXPECT_TRUE(wasInBackground);
    EXPECT_FALSE(model->hasUnsavedEdits());
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    EXPECT_EQ(store->loadConfig().batteryCutoffPercent, 40);
}

TEST_F(TavoAppModelTest, LaunchAtLoginThatFailsAfterSomeTimeStopsTheSave) {
    startWith({});
    login->remainder = [] { throw LoginLaunchManagerError::bootstrapFailed("not today."); };
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    loop->runPosted();
    EXPECT_EQ(model->lastError(), "not today.");
    EXPECT_EQ(store->loadConfig(), AppConfig::defaultConfig());
    EXPECT_TRUE(model->hasUnsavedEdits());
    login->remainder = nullptr;
    model->saveDraft();
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
}

TEST_F(TavoAppModelTest, ASecondSaveWhileLaunchAtLoginTakesTimeIsRefused) {
    startWith({});
    login->remainder = [] {};
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    login->program.reset();
    model->saveDraft();
    EXPECT_EQ(model->lastError(), "launch at login is still being set up; save again in a moment.");
    EXPECT_FALSE(login->program) << "asked for twice";
    loop->runPosted();
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
}

TEST_F(TavoAppModelTest, WhatIsSwitchedOrEditedWhileLaunchAtLoginTakesTimeStays) {
    startWith({});
    login->remainder = [] {};
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    model->toggleEnabled(); // discards the edits, as always
    loop->runPosted();
    EXPECT_TRUE(store->loadConfig().isEnabled);
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    EXPECT_FALSE(model->hasUnsavedEdits());

    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = false; });
    model->saveDraft();
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 40; });
    loop->runPosted();
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    EXPECT_NE(store->loadConfig().batteryCutoffPercent, 40) << "an edit is saved when its user says so";
    EXPECT_EQ(model->draftConfig().batteryCutoffPercent, 40);
}

TEST_F(TavoAppModelTest, AQuitWhileLaunchAtLoginTakesTimeSavesAtOnceWhatWasToBeSaved) {
    startWith({});
    login->remainder = [] { throw LoginLaunchManagerError::bootstrapFailed("called off."); };
    edit([](AppConfig& draft) {
        draft.launchAtLoginEnabled = true;
        draft.batteryCutoffPercent = 40;
    });
    model->saveDraft();
    model->quit();
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled) << "it is in its place for the next login";
    EXPECT_EQ(store->loadConfig().batteryCutoffPercent, 40);
    loop->runPosted();
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, AQuitWhileLaunchAtLoginTakesTimeSavesNoEditThatNobodyAskedToSave) {
    startWith(enabled());
    login->remainder = [] {};
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 40; });
    model->toggleEnabled();
    model->quit();
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    EXPECT_FALSE(store->loadConfig().isEnabled);
    EXPECT_NE(store->loadConfig().batteryCutoffPercent, 40);
}

TEST_F(TavoAppModelTest, WithoutADesktopAppNothingCanBeLaunchedAtLogin) {
    desktopApp.reset();
    startWith({});
    edit([](AppConfig& draft) { draft.launchAtLoginEnabled = true; });
    model->saveDraft();
    EXPECT_EQ(model->lastError(), LoginLaunchManagerError::missingDesktopApp().description());
    EXPECT_FALSE(model->config().launchAtLoginEnabled);
}

TEST_F(TavoAppModelTest, APowerChangeIsActedOnAtOnce) {
    auto config = enabled();
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    startWith(config);
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 80};
    powerChanges->tell();
    loop->runPosted();
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::powerSourceMismatch);
    EXPECT_FALSE(runner->children.back()->isRunning());
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, AFallingPercentReachesTheCutoffAtOnce) {
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 21};
    startWith(enabled());
    power->status.batteryPercent = 20;
    powerChanges->tell();
    loop->runPosted();
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::batteryCutoffReached);
}

TEST_F(TavoAppModelTest, ANoticeOfNothingNewEvaluatesNothing) {
    startWith(watching(TriggerPreset::codex));
    const int read = table->timesRead;
    powerChanges->tell();
    loop->runPosted();
    EXPECT_EQ(table->timesRead, read);
}

TEST_F(TavoAppModelTest, SwitchedOffAPowerChangeIsShownAndNoMore) {
    startWith({});
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 55};
    powerChanges->tell();
    loop->runPosted();
    EXPECT_EQ(model->powerStatus(), power->status);
    EXPECT_EQ(model->runtimeSnapshot(), RuntimeSnapshot::idle());
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes.back(), static_cast<ModelChanges>(ModelProperty::powerStatus));
}

TEST_F(TavoAppModelTest, APowerChangeStartsALoopThatAnErrorHasStopped) {
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    startWith(enabled());
    ASSERT_EQ(loop->armedTimers(), 0U);
    runner->failure = nullptr;
    power->status.batteryPercent = 99;
    powerChanges->tell();
    loop->runPosted();
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, ThePowerSupplyIsWatchedForAsLongAsTheModelLives) {
    startWith({});
    EXPECT_TRUE(powerChanges->isWatched());
    model.reset();
    EXPECT_FALSE(powerChanges->isWatched());
}

TEST_F(TavoAppModelTest, WithoutPowerNotificationsTheNextEvaluationNoticesAChange) {
    powerChanges->failure = std::make_exception_ptr(std::system_error(EPERM, std::generic_category()));
    startWith(enabled());
    EXPECT_EQ(model->lastError(), std::nullopt);
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 5};
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::batteryCutoffReached);
}

TEST_F(TavoAppModelTest, QuittingSavesWhatCouldNotBeSavedBefore) {
    startWith(enabled());
    disk->hasNoRoomForConfig = true;
    model->toggleEnabled();
    disk->hasNoRoomForConfig = false;
    model->quit();
    EXPECT_FALSE(store->loadConfig().isEnabled);
}

TEST_F(TavoAppModelTest, APlugPulledWhileThePlanIsCarriedOutIsActedOnAtOnce) {
    auto config = enabled();
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    runner->onStart = [this] {
        power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 80};
        powerChanges->tell();
    };
    startWith(config);
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::powerSourceMismatch);
    EXPECT_FALSE(runner->children.back()->isRunning());
}

} // namespace
} // namespace tavo
