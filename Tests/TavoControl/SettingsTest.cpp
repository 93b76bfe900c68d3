#include "TavoControl/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;

/// The sentence with which a change is refused; empty when it is not.
std::string refusal(const AppConfig& config, const std::string& key, const std::string& value) {
    try {
        withSetting(config, key, value);
    } catch (const SettingError& error) {
        return error.what();
    }
    return {};
}

AppConfig unusual() {
    AppConfig config;
    config.isEnabled = true;
    config.watchMode = WatchMode::both;
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    config.batteryCutoffPercent.reset();
    config.trigger = {.mode = TriggerMode::process,
                      .preset = {},
                      .matchStrategy = TriggerMatchStrategy::executableName,
                      .query = "blender"};
    return config;
}

TEST(Settings, AreTheKeysOfTheFileSorted) {
    std::vector<std::string> keys;
    for (const auto& setting : settingsOf(AppConfig::defaultConfig())) {
        keys.push_back(setting.key);
    }
    EXPECT_THAT(keys, ::testing::ElementsAre(
                          "batteryCutoffPercent", "closedLidPermissionGranted", "isEnabled", "launchAtLoginEnabled",
                          "maxAwakeDuration", "pollIntervalSeconds", "powerSourcePolicy", "trigger.matchStrategy",
                          "trigger.mode", "trigger.preset", "trigger.query", "trigger.requiresActivity", "watchMode"));
}

TEST(Settings, AValueThatWasReadCanBeSet) {
    const auto config = unusual();
    for (const auto& setting : settingsOf(config)) {
        if (refusal(config, setting.key, setting.value).empty()) {
            EXPECT_EQ(withSetting(config, setting.key, setting.value), config) << setting.key;
        }
    }
    EXPECT_EQ(withSetting(AppConfig::defaultConfig(), "trigger", settingValue(config, "trigger")).trigger,
              config.trigger);
}

TEST(Settings, EachValueGoesWhereItBelongs) {
    const auto config = AppConfig::defaultConfig();
    EXPECT_TRUE(withSetting(config, "isEnabled", "true").isEnabled);
    EXPECT_EQ(withSetting(config, "watchMode", "both").watchMode, WatchMode::both);
    EXPECT_EQ(withSetting(config, "powerSourcePolicy", "batteryOnly").powerSourcePolicy,
              PowerSourcePolicy::batteryOnly);
    EXPECT_EQ(withSetting(config, "batteryCutoffPercent", "35").batteryCutoffPercent, 35);
    EXPECT_EQ(withSetting(config, "batteryCutoffPercent", "none").batteryCutoffPercent, std::nullopt);
    EXPECT_EQ(withSetting(config, "batteryCutoffPercent", "null").batteryCutoffPercent, std::nullopt);
    EXPECT_TRUE(withSetting(config, "launchAtLoginEnabled", "true").launchAtLoginEnabled);
    EXPECT_EQ(withSetting(config, "trigger", R"({"preset": "codex", "query": "codex"})").trigger,
              defaultRule(TriggerPreset::codex));
    EXPECT_EQ(withSetting(config, "trigger.preset", "cursor").trigger, defaultRule(TriggerPreset::cursor));
    EXPECT_EQ(withSetting(unusual(), "trigger.mode", "always").trigger, defaultRule(TriggerPreset::always));
}

TEST(Settings, ARuleThatIsChangedByHandIsNoLongerThePresets) {
    auto config = AppConfig::defaultConfig();
    config.trigger = defaultRule(TriggerPreset::codex);
    const auto query = withSetting(config, "trigger.query", " make ").trigger;
    EXPECT_EQ(query.preset, std::nullopt);
    EXPECT_EQ(query.query, "make");
    const auto strategy = withSetting(config, "trigger.matchStrategy", "executableName").trigger;
    EXPECT_EQ(strategy.preset, std::nullopt);
    EXPECT_EQ(strategy.matchStrategy, TriggerMatchStrategy::executableName);
    EXPECT_EQ(withSetting(AppConfig::defaultConfig(), "trigger.query", "make").trigger.mode, TriggerMode::process);
}

TEST(Settings, AFixedSettingIsRefusedWithASentence) {
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{
             {"pollIntervalSeconds", "5"}, {"maxAwakeDuration", "oneHour"}, {"trigger.requiresActivity", "true"}}) {
        EXPECT_THAT(refusal(AppConfig::defaultConfig(), key, value), HasSubstr(key + " is fixed at")) << key;
    }
}

TEST(Settings, ThePermissionIsGrantedElsewhere) {
    EXPECT_THAT(refusal(AppConfig::defaultConfig(), "closedLidPermissionGranted", "true"),
                HasSubstr("tavoctl helper install"));
}

TEST(Settings, AnInvalidValueIsRefusedWithTheValidOnes) {
    struct Row {
        std::string key;
        std::string value;
        std::string sentence;
    };
    for (
        const auto& row : std::vector<Row>{
            {"isEnabled", "yes", R"(isEnabled takes true or false, not "yes".)"},
            {"watchMode", "ajar", R"(watchMode takes one of open, closed, both, not "ajar".)"},
            {"powerSourcePolicy", "", R"(powerSourcePolicy takes one of any, acOnly, batteryOnly, not "".)"},
            {"batteryCutoffPercent", "20%",
             R"(batteryCutoffPercent takes a percentage from 1 to 100 or none, not "20%".)"},
            {"batteryCutoffPercent", "0", "battery cutoff percent must be between 1 and 100. received 0."},
            {"batteryCutoffPercent", "99999999999",
             R"(batteryCutoffPercent takes a percentage from 1 to 100 or none, not "99999999999".)"},
            {"trigger", "{", ""},
            {"trigger", R"({"mode": "sometimes"})", ""},
            {"trigger", "{}", "the trigger would have nothing to look for; name the process with tavoctl match."},
            {"trigger.query", "  ", "the trigger would have nothing to look for; name the process with tavoctl match."},
            {"trigger.mode", "process",
             "the trigger would have nothing to look for; name the process with tavoctl match."},
            {"trigger.preset", "vim", R"(trigger.preset takes one of always, codex, claudeCode, cursor, not "vim".)"},
            {"isEnabled", "ture", R"(isEnabled takes true or false, not "ture"; did you mean true?)"},
            {"watchMode", "opne", R"(watchMode takes one of open, closed, both, not "opne"; did you mean open?)"},
            {"powerSourcePolicy", "ac",
             R"(powerSourcePolicy takes one of any, acOnly, batteryOnly, not "ac"; did you mean acOnly?)"},
            {"batteryCutoffPercent", "None",
             R"(batteryCutoffPercent takes a percentage from 1 to 100 or none, not "None"; did you mean none?)"},
            {"trigger.preset", "claude",
             R"(trigger.preset takes one of always, codex, claudeCode, cursor, not "claude"; did you mean claudeCode?)"},
            {"watchmode", "open", R"(there is no setting "watchmode"; did you mean watchMode?)"},
            {"tigger.query", "make", R"(there is no setting "tigger.query"; did you mean trigger.query?)"},
            {"pollInterval", "5", R"(there is no setting "pollInterval"; did you mean pollIntervalSeconds?)"},
            {"nothing", "1", R"(there is no setting "nothing"; tavoctl get lists them all.)"},
            {"", "", R"(there is no setting ""; tavoctl get lists them all.)"}}) {
        const auto said = refusal(AppConfig::defaultConfig(), row.key, row.value);
        EXPECT_NE(said, "") << row.key << " = " << row.value;
        if (!row.sentence.empty()) {
            EXPECT_EQ(said, row.sentence);
        }
    }
    EXPECT_THROW(settingValue(AppConfig::defaultConfig(), "nothing"), SettingError);
}

} // namespace
} // namespace tavo
