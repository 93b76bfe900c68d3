#include "config/TriggerRule.h"

#include "base/JsonCoding.h"
#include "config/TavoValidationError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;

const TriggerRule alwaysRule{.mode = TriggerMode::always,
                             .preset = TriggerPreset::always,
                             .matchStrategy = TriggerMatchStrategy::commandLineContains,
                             .query = "",
                             .requiresActivity = false};

TriggerRule processRule(const std::string& query) {
    return {.mode = TriggerMode::process,
            .preset = {},
            .matchStrategy = TriggerMatchStrategy::commandLineContains,
            .query = query,
            .requiresActivity = false};
}

TriggerRule decode(const std::string& text) {
    return TriggerRule::fromJson(parseJson(text), "trigger");
}

TEST(TriggerPreset, EachHasItsNameAndItsRule) {
    EXPECT_EQ(displayName(TriggerPreset::always), "always on");
    EXPECT_EQ(displayName(TriggerPreset::codex), "codex");
    EXPECT_EQ(displayName(TriggerPreset::claudeCode), "claude code");
    EXPECT_EQ(displayName(TriggerPreset::cursor), "cursor");

    EXPECT_EQ(defaultRule(TriggerPreset::always), alwaysRule);
    auto codex = processRule("codex");
    codex.preset = TriggerPreset::codex;
    EXPECT_EQ(defaultRule(TriggerPreset::codex), codex);
    auto claude = processRule("claude");
    claude.preset = TriggerPreset::claudeCode;
    EXPECT_EQ(defaultRule(TriggerPreset::claudeCode), claude);
    auto cursor = processRule("Cursor");
    cursor.preset = TriggerPreset::cursor;
    cursor.matchStrategy = TriggerMatchStrategy::executableName;
    EXPECT_EQ(defaultRule(TriggerPreset::cursor), cursor);
    EXPECT_EQ(TriggerRule::fromPreset(TriggerPreset::cursor), cursor);
}

TEST(TriggerPreset, PickersListThemInTheirOrder) {
    EXPECT_THAT(allCases<TriggerPreset>(), ElementsAre(TriggerPreset::always, TriggerPreset::codex,
                                                       TriggerPreset::claudeCode, TriggerPreset::cursor));
}

TEST(TriggerRule, ABlankProcessQueryIsRefused) {
    try {
        processRule("  \n").validated();
        FAIL() << "a blank query passed";
    } catch (const TavoValidationError& error) {
        EXPECT_EQ(error, TavoValidationError::emptyTriggerQuery());
        EXPECT_EQ(error.description(), "trigger query must not be empty.");
    }
}

TEST(TriggerRule, WhiteSpaceAroundAQueryIsTakenOff) {
    EXPECT_EQ(processRule(" codex ").validated().query, "codex");
    EXPECT_EQ(processRule("\u3000 my agent\u2029").validated().query, "my agent");
}

TEST(TriggerRule, AnAlwaysRuleHasOneForm) {
    auto rule = defaultRule(TriggerPreset::cursor);
    rule.mode = TriggerMode::always;
    rule.query = "x";
    rule.requiresActivity = true;
    EXPECT_EQ(rule.validated(), alwaysRule);
}

TEST(TriggerRule, ThePresetAlwaysMakesAnAlwaysRuleOfAProcessRule) {
    auto rule = processRule("codex");
    rule.preset = TriggerPreset::always;
    EXPECT_EQ(rule.validated(), alwaysRule);
}

TEST(TriggerRule, TheActivityRequirementDoesNotSurvive) {
    auto rule = defaultRule(TriggerPreset::cursor);
    rule.requiresActivity = true;
    EXPECT_EQ(rule.validated(), defaultRule(TriggerPreset::cursor));
}

TEST(TriggerRule, AnEmptyObjectIsAProcessRuleWithoutAQuery) {
    const auto rule = decode("{}");
    EXPECT_EQ(rule, processRule(""));
    EXPECT_THROW(rule.validated(), TavoValidationError);
}

TEST(TriggerRule, AMissingModeFollowsThePreset) {
    EXPECT_EQ(decode(R"({"preset": "always"})").mode, TriggerMode::always);
    EXPECT_EQ(decode(R"({"preset": "cursor"})").mode, TriggerMode::process);
    EXPECT_EQ(decode(R"({"preset": "always", "mode": "process"})").mode, TriggerMode::process);
    EXPECT_EQ(decode(R"({"preset": null})").preset, std::nullopt);
}

TEST(TriggerRule, TheFormerNameOfAPresetIsRead) {
    EXPECT_EQ(decode(R"({"preset": "codexCLI"})").preset, TriggerPreset::codex);
}

TEST(TriggerRule, AnUnknownPresetIsNamed) {
    try {
        decode(R"({"preset": "vim"})");
        FAIL() << "an unknown preset passed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
        EXPECT_EQ(error.debugDescription(), "invalid trigger preset: vim");
        EXPECT_EQ(error.path(), "trigger.preset");
    }
}

TEST(TriggerRule, EveryRuleReadsBackAsItWasWritten) {
    for (const auto preset : allCases<TriggerPreset>()) {
        const auto rule = defaultRule(preset);
        EXPECT_EQ(TriggerRule::fromJson(Json(rule)), rule);
    }
    EXPECT_EQ(TriggerRule::fromJson(Json(processRule("naïve \"query\"\n"))), processRule("naïve \"query\"\n"));
}

TEST(TriggerRule, AnAbsentPresetIsNotWritten) {
    EXPECT_EQ(Json(processRule("x")),
              parseJson(R"({"matchStrategy": "commandLineContains", "mode": "process", "query": "x",
                            "requiresActivity": false})"));
    EXPECT_EQ(Json(defaultRule(TriggerPreset::codex)).at("preset"), "codex");
}

} // namespace
} // namespace tavo
