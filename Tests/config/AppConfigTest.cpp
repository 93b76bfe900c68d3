#include "config/AppConfig.h"

#include "base/JsonCoding.h"
#include "config/TavoValidationError.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavo {
namespace {

const char* const completeConfig = R"({
    "isEnabled": true, "watchMode": "both", "powerSourcePolicy": "acOnly", "maxAwakeDuration": "eightHours",
    "batteryCutoffPercent": 35, "pollIntervalSeconds": 10,
    "trigger": {"mode": "process", "preset": "cursor", "matchStrategy": "executableName", "query": "Cursor",
                "requiresActivity": true},
    "launchAtLoginEnabled": true, "closedLidPermissionGranted": false})";

AppConfig decode(const Json& json) {
    return AppConfig::fromJson(json);
}

Json changed(const std::string& key, const Json& value) {
    auto json = parseJson(completeConfig);
    json[key] = value;
    return json;
}

Json without(const std::string& key) {
    auto json = parseJson(completeConfig);
    json.erase(key);
    return json;
}

TEST(AppConfig, TheDefaultIsOffAlwaysAndWithACutoffOfTwenty) {
    const auto config = AppConfig::defaultConfig();
    EXPECT_FALSE(config.isEnabled);
    EXPECT_EQ(config.watchMode, WatchMode::open);
    EXPECT_EQ(config.powerSourcePolicy, PowerSourcePolicy::any);
    EXPECT_EQ(config.maxAwakeDuration, MaxAwakeDuration::none);
    EXPECT_EQ(config.batteryCutoffPercent, 20);
    EXPECT_EQ(config.pollIntervalSeconds, 60);
    EXPECT_EQ(config.trigger, defaultRule(TriggerPreset::always));
    EXPECT_FALSE(config.launchAtLoginEnabled);
    EXPECT_FALSE(config.closedLidPermissionGranted);
    EXPECT_EQ(config.validated(), config);
}

TEST(AppConfig, SessionLimitsHaveTheirLengthInSeconds) {
    EXPECT_EQ(duration(MaxAwakeDuration::none), std::nullopt);
    EXPECT_EQ(duration(MaxAwakeDuration::oneHour), 3600.0);
    EXPECT_EQ(duration(MaxAwakeDuration::eightHours), 28800.0);
}

TEST(AppConfig, ACutoffOutsideOneToAHundredIsRefused) {
    for (const std::int64_t percent :
         {std::int64_t{0}, std::int64_t{101}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::max()}) {
        AppConfig config;
        config.batteryCutoffPercent = percent;
        try {
            config.validated();
            FAIL() << percent << " passed";
        } catch (const TavoValidationError& error) {
            EXPECT_EQ(error, TavoValidationError::invalidBatteryCutoffPercent(percent));
            EXPECT_EQ(error.description(),
                      "battery cutoff percent must be between 1 and 100. received " + std::to_string(percent) + ".");
        }
    }
}

TEST(AppConfig, ACutoffWithinTheRangeAndNonePass) {
    for (const std::optional<std::int64_t> percent : {std::optional<std::int64_t>{1}, {100}, {}}) {
        AppConfig config;
        config.batteryCutoffPercent = percent;
        EXPECT_EQ(config.validated().batteryCutoffPercent, percent);
    }
}

TEST(AppConfig, TheTriggerIsValidatedBeforeTheCutoff) {
    AppConfig config;
    config.trigger = {.mode = TriggerMode::process};
    config.batteryCutoffPercent = 0;
    try {
        config.validated();
        FAIL() << "an empty query passed";
    } catch (const TavoValidationError& error) {
        EXPECT_EQ(error.kind(), TavoValidationError::Kind::emptyTriggerQuery);
    }
}

TEST(AppConfig, PollIntervalAndSessionLimitAreFixed) {
    AppConfig config;
    config.pollIntervalSeconds = 2;
    config.maxAwakeDuration = MaxAwakeDuration::eightHours;
    EXPECT_EQ(config.validated(), AppConfig::defaultConfig());
}

TEST(AppConfig, ThePollIntervalErrorHasItsText) {
    const auto error = TavoValidationError::invalidPollIntervalSeconds(4);
    EXPECT_EQ(error.description(), "poll interval must be between 5 and 3600 seconds. received 4.");
    EXPECT_EQ(error.received(), 4);
}

TEST(AppConfig, TheLaunchBaselineIsOffAndAlways) {
    auto expected = decode(parseJson(completeConfig));
    const auto baseline = expected.appLaunchBaseline();
    expected.isEnabled = false;
    expected.trigger = defaultRule(TriggerPreset::always);
    EXPECT_EQ(baseline, expected);
}

TEST(AppConfig, EnablingWithoutAProcessTriggerKeepsTheRest) {
    auto expected = decode(changed("isEnabled", false));
    const auto enabled = expected.enabledWithoutProcessTrigger();
    expected.isEnabled = true;
    expected.trigger = defaultRule(TriggerPreset::always);
    EXPECT_EQ(enabled, expected);
}

struct PolicyCase {
    PowerSourcePolicy policy;
    CurrentPowerSource source;
    PowerSourcePolicy expected;
};

TEST(AppConfig, EnablingRelaxesAPolicyThatForbidsTheCurrentSource) {
    using enum PowerSourcePolicy;
    for (const auto& [policy, source, expected] : std::initializer_list<PolicyCase>{
             {any, CurrentPowerSource::ac, any},
             {any, CurrentPowerSource::battery, any},
             {any, CurrentPowerSource::unknown, any},
             {acOnly, CurrentPowerSource::ac, acOnly},
             {acOnly, CurrentPowerSource::battery, any},
             {acOnly, CurrentPowerSource::unknown, any},
             {batteryOnly, CurrentPowerSource::ac, any},
             {batteryOnly, CurrentPowerSource::battery, batteryOnly},
             {batteryOnly, CurrentPowerSource::unknown, any},
         }) {
        AppConfig config;
        config.powerSourcePolicy = policy;
        config.trigger = defaultRule(TriggerPreset::codex);
        const auto enabled = config.enabledForCurrentPowerSource({.source = source});
        EXPECT_EQ(enabled.powerSourcePolicy, expected) << rawValue(policy) << " on " << rawValue(source);
        EXPECT_TRUE(enabled.isEnabled);
        EXPECT_EQ(enabled.trigger, defaultRule(TriggerPreset::always));
    }
}

TEST(AppConfig, AllNineKeysAreReadAndWritten) {
    const auto json = parseJson(completeConfig);
    const auto config = decode(json);
    EXPECT_TRUE(config.isEnabled);
    EXPECT_EQ(config.watchMode, WatchMode::both);
    EXPECT_EQ(config.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(config.maxAwakeDuration, MaxAwakeDuration::eightHours);
    EXPECT_EQ(config.batteryCutoffPercent, 35);
    EXPECT_EQ(config.pollIntervalSeconds, 10);
    EXPECT_TRUE(config.trigger.requiresActivity);
    EXPECT_TRUE(config.launchAtLoginEnabled);
    EXPECT_FALSE(config.closedLidPermissionGranted);
    EXPECT_EQ(Json(config), json);
}

TEST(AppConfig, AMissingCutoffIsTwentyAndANullCutoffIsNone) {
    EXPECT_EQ(decode(without("batteryCutoffPercent")).batteryCutoffPercent, 20);
    EXPECT_EQ(decode(changed("batteryCutoffPercent", nullptr)).batteryCutoffPercent, std::nullopt);
}

TEST(AppConfig, AnAbsentCutoffIsWrittenAsNull) {
    AppConfig config;
    config.batteryCutoffPercent = std::nullopt;
    ASSERT_TRUE(Json(config).contains("batteryCutoffPercent"));
    EXPECT_TRUE(Json(config).at("batteryCutoffPercent").is_null());
}

TEST(AppConfig, AMissingOrNullPermissionCountsAsGranted) {
    EXPECT_TRUE(decode(without("closedLidPermissionGranted")).closedLidPermissionGranted);
    EXPECT_TRUE(decode(changed("closedLidPermissionGranted", nullptr)).closedLidPermissionGranted);
}

TEST(AppConfig, EveryOtherKeyIsRequired) {
    for (const auto* key : {"isEnabled", "watchMode", "powerSourcePolicy", "maxAwakeDuration", "pollIntervalSeconds",
                            "trigger", "launchAtLoginEnabled"}) {
        for (const auto& [json, kind] : {std::pair{without(key), DecodingError::Kind::keyNotFound},
                                         std::pair{changed(key, nullptr), DecodingError::Kind::valueNotFound}}) {
            try {
                decode(json);
                ADD_FAILURE() << key << " may be missing";
            } catch (const DecodingError& error) {
                EXPECT_EQ(error.kind(), kind) << key;
                EXPECT_EQ(error.path(), key);
                EXPECT_TRUE(error.description().starts_with(key)) << error.description();
            }
        }
    }
}

struct BadValue {
    const char* key;
    Json value;
    DecodingError::Kind kind;
};

TEST(AppConfig, ABadValueIsRefusedByTheNameOfItsKey) {
    using Kind = DecodingError::Kind;
    const std::vector<BadValue> table{
        {"isEnabled", 1, Kind::typeMismatch},
        {"isEnabled", "true", Kind::typeMismatch},
        {"watchMode", "ajar", Kind::dataCorrupted},
        {"watchMode", "Open", Kind::dataCorrupted},
        {"watchMode", 3, Kind::typeMismatch},
        {"powerSourcePolicy", "solar", Kind::dataCorrupted},
        {"maxAwakeDuration", "twoHours", Kind::dataCorrupted},
        {"batteryCutoffPercent", "20", Kind::typeMismatch},
        {"batteryCutoffPercent", true, Kind::typeMismatch},
        {"batteryCutoffPercent", 20.5, Kind::dataCorrupted},
        {"batteryCutoffPercent", parseJson("1e300"), Kind::dataCorrupted},
        {"batteryCutoffPercent", parseJson("9223372036854775808"), Kind::dataCorrupted},
        {"batteryCutoffPercent", parseJson("18446744073709551616"), Kind::dataCorrupted},
        {"pollIntervalSeconds", parseJson("-9223372036854775809"), Kind::dataCorrupted},
        {"pollIntervalSeconds", Json::array(), Kind::typeMismatch},
        {"trigger", "always", Kind::typeMismatch},
        {"launchAtLoginEnabled", Json::object(), Kind::typeMismatch},
        {"closedLidPermissionGranted", "yes", Kind::typeMismatch},
    };
    for (const auto& [key, value, kind] : table) {
        try {
            decode(changed(key, value));
            ADD_FAILURE() << key << " took " << value.dump();
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.kind(), kind) << key << " " << value.dump();
            EXPECT_EQ(error.path(), key);
        }
    }
}

TEST(AppConfig, ABadValueInsideTheTriggerIsNamedByItsPath) {
    for (const auto& [trigger, path] : std::vector<std::pair<const char*, const char*>>{
             {R"({"query": 7})", "trigger.query"},
             {R"({"mode": "sometimes"})", "trigger.mode"},
             {R"({"matchStrategy": "regex"})", "trigger.matchStrategy"},
             {R"({"requiresActivity": 0})", "trigger.requiresActivity"},
         }) {
        try {
            decode(changed("trigger", parseJson(trigger)));
            ADD_FAILURE() << trigger;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.path(), path);
        }
    }
}

TEST(AppConfig, WholeNumbersAreReadToTheirLimits) {
    EXPECT_EQ(decode(changed("pollIntervalSeconds", parseJson("9223372036854775807"))).pollIntervalSeconds,
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decode(changed("pollIntervalSeconds", parseJson("-9223372036854775808"))).pollIntervalSeconds,
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(decode(changed("pollIntervalSeconds", parseJson("60.0"))).pollIntervalSeconds, 60);
}

} // namespace
} // namespace tavo
