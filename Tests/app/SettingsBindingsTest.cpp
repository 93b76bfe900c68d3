#include "app/SettingsBindings.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

AppConfig withTrigger(const TriggerRule& rule) {
    AppConfig config;
    config.trigger = rule;
    return config;
}

TEST(PresetBinding, ReadsTheRawTextOrCustom) {
    for (const auto preset : allCases<TriggerPreset>()) {
        EXPECT_EQ(presetChoice(withTrigger(defaultRule(preset))), rawValue(preset));
    }
    EXPECT_EQ(presetChoice(withTrigger({.mode = TriggerMode::process, .query = "make"})), "custom");
}

TEST(PresetBinding, APresetReplacesTheWholeRule) {
    const auto custom = withTrigger({.mode = TriggerMode::process,
                                     .preset = {},
                                     .matchStrategy = TriggerMatchStrategy::executableName,
                                     .query = "make"});
    for (const auto preset : allCases<TriggerPreset>()) {
        EXPECT_EQ(withPresetChoice(custom, rawValue(preset)).trigger, defaultRule(preset));
    }
}

TEST(PresetBinding, CustomNeverStartsEmpty) {
    const auto fromAlways = withPresetChoice(AppConfig::defaultConfig(), "custom").trigger;
    EXPECT_EQ(fromAlways, (TriggerRule{.mode = TriggerMode::process, .query = "codex"}));
    EXPECT_EQ(withPresetChoice(withTrigger({.mode = TriggerMode::process, .query = " \n"}), "custom").trigger.query,
              "codex");
}

TEST(PresetBinding, CustomKeepsTheQueryAndTheStrategyOfThePreset) {
    const auto rule = withPresetChoice(withTrigger(defaultRule(TriggerPreset::cursor)), "custom").trigger;
    EXPECT_EQ(rule.query, "Cursor");
    EXPECT_EQ(rule.matchStrategy, TriggerMatchStrategy::executableName);
    EXPECT_EQ(rule.preset, std::nullopt);
}

TEST(PresetBinding, APresetAfterCustomDiscardsTheQuery) {
    auto draft = withPresetChoice(AppConfig::defaultConfig(), "custom");
    draft.trigger.query = "make";
    EXPECT_EQ(withPresetChoice(draft, "cursor").trigger, defaultRule(TriggerPreset::cursor));
}

TEST(PresetBinding, AnUnknownTextChangesNothing) {
    const auto draft = withTrigger(defaultRule(TriggerPreset::codex));
    for (const auto* const text : {"", "vim", "codexCLI", "Custom"}) {
        EXPECT_EQ(withPresetChoice(draft, text), draft);
    }
}

TEST(PresetBinding, TheDetailAndTheCustomRowsFollowTheRule) {
    EXPECT_EQ(triggerDetail(AppConfig::defaultConfig()), "no process needed");
    EXPECT_FALSE(showsCustomProcess(AppConfig::defaultConfig()));
    const auto codex = withTrigger(defaultRule(TriggerPreset::codex));
    EXPECT_EQ(triggerDetail(codex), "while app runs");
    EXPECT_FALSE(showsCustomProcess(codex));
    EXPECT_TRUE(showsCustomProcess(withPresetChoice(codex, "custom")));
}

TEST(ClosedLidBinding, SwitchingOnKeepsAModeThatCoversTheLid) {
    struct Row {
        WatchMode before;
        bool isOn;
        WatchMode after;
    };
    for (const auto& row :
         {Row{WatchMode::open, true, WatchMode::both}, Row{WatchMode::closed, true, WatchMode::closed},
          Row{WatchMode::both, true, WatchMode::both}, Row{WatchMode::open, false, WatchMode::open},
          Row{WatchMode::closed, false, WatchMode::open}, Row{WatchMode::both, false, WatchMode::open}}) {
        AppConfig draft;
        draft.watchMode = row.before;
        EXPECT_EQ(keepsAwakeWithClosedLid(draft), row.before != WatchMode::open);
        EXPECT_EQ(withClosedLid(draft, row.isOn).watchMode, row.after);
    }
    EXPECT_EQ(closedLidDetail(AppConfig::defaultConfig()), "requires extra permission");
    EXPECT_EQ(closedLidDetail(withClosedLid({}, true)), "warning: overheating risk");
}

TEST(BatteryBinding, SwitchingOnKeepsAPolicyThatAllowsTheBattery) {
    struct Row {
        PowerSourcePolicy before;
        bool isOn;
        PowerSourcePolicy after;
    };
    using Policy = PowerSourcePolicy;
    for (const auto& row :
         {Row{Policy::any, true, Policy::any}, Row{Policy::acOnly, true, Policy::any},
          Row{Policy::batteryOnly, true, Policy::batteryOnly}, Row{Policy::any, false, Policy::acOnly},
          Row{Policy::acOnly, false, Policy::acOnly}, Row{Policy::batteryOnly, false, Policy::acOnly}}) {
        AppConfig draft;
        draft.powerSourcePolicy = row.before;
        EXPECT_EQ(keepsAwakeOnBattery(draft), row.before != Policy::acOnly);
        EXPECT_EQ(withBattery(draft, row.isOn).powerSourcePolicy, row.after);
    }
    EXPECT_EQ(batteryDetail(AppConfig::defaultConfig()), "will drain battery faster");
    EXPECT_EQ(batteryDetail(withBattery({}, false)), "on power adapter only");
}

TEST(CutoffBinding, TakesDigitsAndNothingElse) {
    for (const auto* const text : {"", "0", "20", "101", "9999", "007"}) {
        EXPECT_TRUE(isCutoffText(text)) << text;
    }
    for (const auto* const text : {"-1", "1.5", "20%", " 20", "٢", "99999", "a"}) {
        EXPECT_FALSE(isCutoffText(text)) << text;
    }
}

TEST(CutoffBinding, EmptyIsNoCutoffAndTheRangeIsNotItsBusiness) {
    EXPECT_EQ(cutoffText(AppConfig::defaultConfig()), "20");
    EXPECT_EQ(withCutoffText({}, "").batteryCutoffPercent, std::nullopt);
    EXPECT_EQ(cutoffText(withCutoffText({}, "")), "");
    EXPECT_EQ(withCutoffText({}, "0").batteryCutoffPercent, 0);
    EXPECT_EQ(withCutoffText({}, "101").batteryCutoffPercent, 101);
    EXPECT_EQ(withCutoffText({}, "007").batteryCutoffPercent, 7);
    EXPECT_EQ(withCutoffText({}, "9999").batteryCutoffPercent, 9999);
}

} // namespace
} // namespace tavo
