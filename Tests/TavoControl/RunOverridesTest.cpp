#include "RunOverrides.h"

#include "Support/TemporaryDirectory.h"
#include "config/TavoValidationError.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(RunOverrides, NothingIsOverriddenByNothing) {
    AppConfig config;
    config.watchMode = WatchMode::closed;
    EXPECT_TRUE(RunOverrides{}.isEmpty());
    EXPECT_EQ(RunOverrides{}.appliedTo(config), config);
}

TEST(RunOverrides, ATriggerSwitchesOnAndNothingElseDoes) {
    EXPECT_TRUE(RunOverrides{.trigger = defaultRule(TriggerPreset::codex)}.appliedTo({}).isEnabled);
    const RunOverrides others{.powerSourcePolicy = PowerSourcePolicy::acOnly,
                              .batteryCutoffPercent = std::optional<std::int64_t>{5},
                              .watchMode = WatchMode::both};
    const auto config = others.appliedTo({});
    EXPECT_FALSE(config.isEnabled);
    EXPECT_EQ(config.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(config.batteryCutoffPercent, 5);
    EXPECT_EQ(config.watchMode, WatchMode::both);
}

TEST(RunOverrides, ACutoffOfNoneIsAnOverrideToo) {
    const RunOverrides none{.batteryCutoffPercent = std::optional<std::int64_t>{}};
    EXPECT_FALSE(none.isEmpty());
    EXPECT_EQ(none.appliedTo({}).batteryCutoffPercent, std::nullopt);
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

class OverridingStoreTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> file = std::make_shared<TavoStore>(TavoPaths{folder.path()});
    OverridingStore store{file,
                          {.trigger = defaultRule(TriggerPreset::cursor),
                           .powerSourcePolicy = PowerSourcePolicy::batteryOnly,
                           .batteryCutoffPercent = std::optional<std::int64_t>{},
                           .watchMode = WatchMode::closed}};
};

TEST_F(OverridingStoreTest, EveryLoadIsOverriddenAnew) {
    EXPECT_EQ(store.loadConfig().trigger, defaultRule(TriggerPreset::cursor));
    AppConfig edited;
    edited.launchAtLoginEnabled = true;
    file->saveConfig(edited);
    const auto config = store.loadConfig();
    EXPECT_TRUE(config.isEnabled);
    EXPECT_TRUE(config.launchAtLoginEnabled);
    EXPECT_EQ(config.watchMode, WatchMode::closed);
}

TEST_F(OverridingStoreTest, WhatIsOverriddenIsNeverSaved) {
    AppConfig inFile;
    inFile.trigger = defaultRule(TriggerPreset::codex);
    inFile.batteryCutoffPercent = 40;
    file->saveConfig(inFile);
    auto config = store.loadConfig();
    config.launchAtLoginEnabled = true;
    store.saveConfig(config);
    inFile.launchAtLoginEnabled = true;
    EXPECT_EQ(file->loadConfig(), inFile);
}

TEST_F(OverridingStoreTest, StateIsTheStores) {
    RuntimeSnapshot snapshot;
    snapshot.isEnabled = true;
    store.saveRuntimeSnapshot(snapshot);
    EXPECT_EQ(file->loadRuntimeSnapshot(), snapshot);
    EXPECT_EQ(store.loadRuntimeSnapshot(), snapshot);
    EXPECT_EQ(store.paths(), file->paths());
}

TEST_F(OverridingStoreTest, AnOverrideThatCannotBeObeyedIsAnError) {
    const OverridingStore bad(file, {.batteryCutoffPercent = std::optional<std::int64_t>{0}});
    EXPECT_THROW(bad.loadConfig(), TavoValidationError);
}

} // namespace
} // namespace tavo
