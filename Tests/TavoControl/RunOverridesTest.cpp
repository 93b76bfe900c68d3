#include "TavoControl/RunOverrides.h"

#include "Support/TemporaryDirectory.h"
#include "base/JsonCoding.h"
#include "config/TavoValidationError.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

AppConfig unusualConfig() {
    AppConfig config;
    config.isEnabled = false;
    config.watchMode = WatchMode::both;
    config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    config.batteryCutoffPercent = 35;
    config.trigger = defaultRule(TriggerPreset::cursor);
    config.launchAtLoginEnabled = true;
    return config;
}

RunOverrides allOverrides() {
    return {.trigger = defaultRule(TriggerPreset::codex),
            .powerSourcePolicy = PowerSourcePolicy::acOnly,
            .batteryCutoffPercent = std::optional<std::int64_t>(50),
            .watchMode = WatchMode::open};
}

class OverridingStoreTest : public ::testing::Test {
protected:
    OverridingStore overriding(RunOverrides overrides) const { return {store, std::move(overrides)}; }
    std::string configText() const { return fileContent(store->paths().configURL()); }

    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> store = std::make_shared<TavoStore>(TavoPaths{folder.path()});
};

TEST(RunOverrides, NothingGivenChangesNothing) {
    EXPECT_TRUE(RunOverrides().isEmpty());
    EXPECT_EQ(RunOverrides().appliedTo(unusualConfig()), unusualConfig());
}

TEST(RunOverrides, ATriggerAlsoSwitchesOn) {
    auto expected = unusualConfig();
    expected.trigger = defaultRule(TriggerPreset::codex);
    expected.isEnabled = true;
    EXPECT_EQ((RunOverrides{.trigger = defaultRule(TriggerPreset::codex)}).appliedTo(unusualConfig()), expected);
}

TEST(RunOverrides, OptionsOtherThanATriggerLeaveTheMasterSwitchAlone) {
    auto overrides = allOverrides();
    overrides.trigger.reset();
    auto expected = unusualConfig();
    expected.powerSourcePolicy = PowerSourcePolicy::acOnly;
    expected.batteryCutoffPercent = 50;
    expected.watchMode = WatchMode::open;
    EXPECT_EQ(overrides.appliedTo(unusualConfig()), expected);
    EXPECT_FALSE(expected.isEnabled);
}

TEST(RunOverrides, NoCutoffIsSomethingElseThanNoOverride) {
    const RunOverrides none{.batteryCutoffPercent = std::optional<std::int64_t>()};
    EXPECT_FALSE(none.isEmpty());
    EXPECT_EQ(none.appliedTo(unusualConfig()).batteryCutoffPercent, std::nullopt);
}

TEST(RunOverrides, EachOneAloneIsNotEmpty) {
    EXPECT_FALSE((RunOverrides{.trigger = defaultRule(TriggerPreset::always)}).isEmpty());
    EXPECT_FALSE((RunOverrides{.powerSourcePolicy = PowerSourcePolicy::any}).isEmpty());
    EXPECT_FALSE((RunOverrides{.watchMode = WatchMode::open}).isEmpty());
}

TEST(RunOverrides, TheyReadBackAsTheyWereWritten) {
    const RunOverrides all{.trigger = defaultRule(TriggerPreset::cursor),
                           .powerSourcePolicy = PowerSourcePolicy::acOnly,
                           .batteryCutoffPercent = std::optional<std::int64_t>{30},
                           .watchMode = WatchMode::both};
    const RunOverrides noCutoff{.batteryCutoffPercent = std::optional<std::int64_t>{}};
    for (const auto& overrides : {all, noCutoff, RunOverrides{}}) {
        EXPECT_EQ(RunOverrides::fromJson(overrides.json()), overrides);
    }
    EXPECT_THROW(RunOverrides::fromJson(parseJson(R"({"watchMode": "ajar"})")), DecodingError);
}

TEST_F(OverridingStoreTest, TheOverridesHoldAtEveryLoadWhateverTheFileSays) {
    const auto run = overriding(allOverrides());
    EXPECT_EQ(run.loadConfig().trigger, defaultRule(TriggerPreset::codex));
    store->saveConfig(unusualConfig());
    const auto loaded = run.loadConfig();
    EXPECT_EQ(loaded, allOverrides().appliedTo(unusualConfig()));
    EXPECT_TRUE(loaded.launchAtLoginEnabled) << "what is not overridden comes from the file of this moment";
    EXPECT_EQ(run.loadConfig(), loaded);
}

TEST_F(OverridingStoreTest, LoadingWritesNothing) {
    overriding(allOverrides()).loadConfig();
    EXPECT_FALSE(std::filesystem::exists(store->paths().configURL()));
    store->saveConfig(unusualConfig());
    const auto before = configText();
    overriding(allOverrides()).loadConfig();
    EXPECT_EQ(configText(), before);
}

TEST_F(OverridingStoreTest, SavingKeepsWhatTheFileHoldsOfEverythingOverridden) {
    store->saveConfig(unusualConfig());
    const auto run = overriding(allOverrides());
    auto changed = run.loadConfig();
    changed.launchAtLoginEnabled = false;
    changed.closedLidPermissionGranted = true;
    run.saveConfig(changed);
    auto expected = unusualConfig();
    expected.launchAtLoginEnabled = false;
    expected.closedLidPermissionGranted = true;
    EXPECT_EQ(store->loadConfig(), expected);
}

TEST_F(OverridingStoreTest, SavingWithoutOverridesSavesEverything) {
    auto changed = unusualConfig();
    changed.isEnabled = true;
    overriding({}).saveConfig(changed);
    EXPECT_EQ(store->loadConfig(), changed);
}

TEST_F(OverridingStoreTest, AsWrittenTheFileDiffersOnlyInWhatIsNotOverridden) {
    auto inFile = unusualConfig();
    store->saveConfig(inFile);
    EXPECT_EQ(overriding(allOverrides()).loadConfigAsWritten(), overriding(allOverrides()).loadConfig());
    inFile.pollIntervalSeconds = 5;
    folder.write("config.json", prettyJson(inFile));
    EXPECT_EQ(overriding(allOverrides()).loadConfigAsWritten().pollIntervalSeconds, 5);
}

TEST_F(OverridingStoreTest, OverAFileThatCannotBeReadTheDefaultsAreSaved) {
    folder.write("config.json", "{");
    overriding(allOverrides()).saveConfig(unusualConfig());
    EXPECT_EQ(store->loadConfig().trigger, AppConfig::defaultConfig().trigger);
    EXPECT_TRUE(store->loadConfig().launchAtLoginEnabled);
    EXPECT_EQ(fileContent(folder.path() / "config.json.unreadable"), "{");
}

TEST_F(OverridingStoreTest, AnInvalidFileIsStillRefused) {
    folder.write("config.json", "{}");
    EXPECT_THROW(overriding(allOverrides()).loadConfig(), DecodingError);
    EXPECT_EQ(configText(), "{}");
}

TEST_F(OverridingStoreTest, AnInvalidOverrideIsRefused) {
    EXPECT_THROW(overriding({.trigger = TriggerRule{.mode = TriggerMode::process}}).loadConfig(), TavoValidationError);
}

TEST_F(OverridingStoreTest, TheSnapshotIsPassedThrough) {
    const auto run = overriding(allOverrides());
    RuntimeSnapshot snapshot;
    snapshot.lastDecisionReason = RuntimeDecisionReason::noMatchingProcess;
    run.saveRuntimeSnapshot(snapshot);
    EXPECT_EQ(store->loadRuntimeSnapshot(), snapshot);
    EXPECT_EQ(run.loadRuntimeSnapshot(), snapshot);
    EXPECT_EQ(run.paths(), store->paths());
}

} // namespace
} // namespace tavo
