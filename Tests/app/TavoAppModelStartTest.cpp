#include "app/TavoAppModelTesting.h"
#include "base/JsonCoding.h"

namespace tavo {
namespace {

RuntimeSnapshot leftByAKill() {
    return {.isEnabled = true,
            .isWakeAssertionActive = true,
            .lastEvaluationDate = parseISO8601("2026-01-30T09:00:00Z"),
            .lastDecisionReason = Reason::active,
            .matchedProcesses = {},
            .lastError = {}};
}

TEST_F(TavoAppModelTest, TheDraftStartsAsTheConfiguration) {
    startWith(watching(TriggerPreset::cursor));
    EXPECT_EQ(model->draftConfig(), model->config());
    EXPECT_FALSE(model->hasUnsavedEdits());
}

TEST_F(TavoAppModelTest, WithoutFilesItStartsWithTheDefaultsAndWritesNone) {
    make();
    EXPECT_EQ(model->config(), AppConfig::defaultConfig());
    EXPECT_EQ(model->runtimeSnapshot(), RuntimeSnapshot::idle());
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(store->paths().configURL()));
    EXPECT_FALSE(std::filesystem::exists(store->paths().stateURL()));
}

TEST_F(TavoAppModelTest, WhatTheStartNormalisesIsWrittenBack) {
    auto config = enabled();
    config.pollIntervalSeconds = 5;
    config.maxAwakeDuration = MaxAwakeDuration::oneHour;
    config.trigger.query = "left over";
    folder.write("config.json", prettyJson(config));
    make();
    EXPECT_EQ(model->config(), enabled());
    EXPECT_EQ(configText(), prettyJson(enabled()));
}

TEST_F(TavoAppModelTest, ANormalFileIsNotWrittenAgain) {
    // The same in another layout, which a person may prefer.
    const auto text = Json(enabled()).dump();
    folder.write("config.json", text);
    make();
    EXPECT_EQ(configText(), text);
}

TEST_F(TavoAppModelTest, AStartThatCannotWriteGoesOn) {
    auto config = enabled();
    config.pollIntervalSeconds = 5;
    folder.write("config.json", prettyJson(config));
    disk->hasNoRoomForConfig = true;
    make();
    EXPECT_EQ(model->config(), enabled());
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, AnUnreadableConfigurationIsLeftAsItIs) {
    folder.write("config.json", R"({"isEnabled": 1})");
    make();
    model->start();
    EXPECT_EQ(model->lastError(), model->configFileError());
    EXPECT_EQ(model->draftConfig(), AppConfig::defaultConfig());
    EXPECT_EQ(configText(), R"({"isEnabled": 1})");
    loop->advance(std::chrono::minutes{5});
    EXPECT_TRUE(model->configFileError()) << "said for as long as it holds";
    EXPECT_EQ(configText(), R"({"isEnabled": 1})");
}

TEST_F(TavoAppModelTest, AConfigurationThatCannotBeObeyedIsUnreadableToo) {
    auto config = enabled();
    config.batteryCutoffPercent = 0;
    folder.write("config.json", prettyJson(config));
    make();
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_EQ(model->configFileError(), "battery cutoff percent must be between 1 and 100. received 0.");
}

TEST_F(TavoAppModelTest, AnUnreadableConfigurationThatIsMendedIsPickedUp) {
    folder.write("config.json", "{");
    make();
    model->start();
    store->saveConfig(enabled());
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->config(), enabled());
    EXPECT_EQ(model->configFileError(), std::nullopt);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, TheFirstSaveKeepsTheUnreadableConfigurationAside) {
    folder.write("config.json", "{");
    make();
    model->start();
    model->toggleEnabled();
    EXPECT_EQ(fileContent(folder.path() / "config.json.unreadable"), "{");
    EXPECT_TRUE(store->loadConfig().isEnabled);
    EXPECT_EQ(model->configFileError(), std::nullopt);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, AFileBrokenWhileItRunsIsKeptAsideByTheNextSave) {
    startWith(enabled());
    folder.write("config.json", "mine {");
    model->toggleEnabled();
    EXPECT_EQ(fileContent(folder.path() / "config.json.unreadable"), "mine {");
    EXPECT_FALSE(store->loadConfig().isEnabled);
}

TEST_F(TavoAppModelTest, AnUnreadableStateIsReplacedAtTheStart) {
    folder.write("state.json", "nonsense");
    make();
    EXPECT_EQ(model->runtimeSnapshot(), RuntimeSnapshot::idle());
    EXPECT_EQ(saved(), RuntimeSnapshot::idle());
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelTest, ALockOfAKilledRunDoesNotCountAsHeld) {
    store->saveRuntimeSnapshot(leftByAKill());
    make();
    model->start();
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(model->runtimeStatusCopy(), (RuntimeStatusCopy{"paused", "tavo is off"}));
    EXPECT_EQ(saved(), model->runtimeSnapshot());
}

TEST_F(TavoAppModelTest, WhatTheLastRunSaidOtherwiseStands) {
    auto snapshot = leftByAKill();
    snapshot.isWakeAssertionActive = false;
    snapshot.lastDecisionReason = Reason::batteryCutoffReached;
    store->saveRuntimeSnapshot(snapshot);
    make();
    EXPECT_EQ(model->runtimeSnapshot(), snapshot);
}

TEST_F(TavoAppModelTest, TheStateOfTheHelperIsKnownFromTheStart) {
    make();
    EXPECT_EQ(model->helperInstallState(), HelperState::notInstalled);
    EXPECT_FALSE(model->supportsSilentHelperReset());
    EXPECT_EQ(model->helperStatusTitle(), "not granted");
    EXPECT_EQ(model->helperStatusDetail(), "grant permission");
    installHelper();
    make();
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
    EXPECT_TRUE(model->supportsSilentHelperReset());
    EXPECT_EQ(model->helperStatusDetail(), "permission granted");
}

TEST_F(TavoAppModelTest, NothingIsEvaluatedBeforeTheMainLoopRuns) {
    store->saveConfig(enabled());
    make();
    model->start();
    EXPECT_THAT(*runner->log, IsEmpty());
    loop->runPosted();
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s"));
}

TEST_F(TavoAppModelTest, AfterAQuitNothingHappensAnyMore) {
    startWith(enabled());
    model->quit();
    model->quit();
    model->evaluateNow();
    model->toggleEnabled();
    model->installHelper();
    power->status = {.source = CurrentPowerSource::battery};
    powerChanges->tell();
    loop->advance(std::chrono::hours{1});
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_THAT(application.asked, ElementsAre("terminate"));
    EXPECT_TRUE(store->loadConfig().isEnabled) << "so that the next start resumes";
    EXPECT_THAT(administrator->commands, IsEmpty());
}

TEST_F(TavoAppModelTest, AQuitThatLeadsToAnotherQuitHappensOnce) {
    startWith(enabled());
    application.whenTerminated = [this] {
        model->quit();
        model->evaluateNow();
    };
    model->quit();
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_THAT(application.asked, ElementsAre("terminate"));
}

TEST_F(TavoAppModelTest, AQuitFromWhereTheModelTellsOfAChangeHappensOnce) {
    make();
    model->onChange([this](ModelChanges) { model->quit(); });
    model->start();
    loop->runPosted();
    model->toggleEnabled();
    loop->advance(std::chrono::hours{1});
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_THAT(application.asked, ElementsAre("terminate"));
}

TEST_F(TavoAppModelTest, AQuitThatCannotReleaseEverythingEndsAnyway) {
    installHelper();
    startWith(enabledWithLidClosed());
    helper->otherwise = PrivilegedHelperResponse::error("broken.");
    model->quit();
    EXPECT_THAT(application.asked, ElementsAre("terminate"));
    EXPECT_FALSE(runner->children.back()->isRunning());
    EXPECT_TRUE(model->lastError());
}

TEST_F(TavoAppModelTest, TheSettingsWindowIsMadeOnceAndBroughtToTheFront) {
    make();
    model->openSettings();
    loop->runPosted();
    model->openSettings();
    loop->runPosted();
    EXPECT_THAT(application.asked,
                ElementsAre("order out the key window", "make the settings window", "show the settings window",
                            "bring it to the front", "order out the key window", "show the settings window",
                            "bring it to the front"));
}

TEST_F(TavoAppModelTest, AProgramWithoutWindowsShowsNone) {
    application.hasWindows = false;
    make();
    model->openSettings();
    loop->runPosted();
    EXPECT_THAT(application.asked, ElementsAre("order out the key window", "make the settings window"));
}

} // namespace
} // namespace tavo
