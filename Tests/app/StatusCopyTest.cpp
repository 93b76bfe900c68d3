#include "app/StatusCopy.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using Reason = RuntimeDecisionReason;

AppConfig configFor(const TriggerRule& trigger, bool isEnabled = true) {
    AppConfig config;
    config.isEnabled = isEnabled;
    config.trigger = trigger;
    return config;
}

TriggerRule custom(const std::string& query) {
    return {.mode = TriggerMode::process, .query = query};
}

const TriggerRule always = defaultRule(TriggerPreset::always);
const TriggerRule codex = defaultRule(TriggerPreset::codex);
const TriggerRule cursor = defaultRule(TriggerPreset::cursor);

RuntimeSnapshot because(Reason reason, const std::vector<std::string>& matchedNames = {}) {
    RuntimeSnapshot snapshot;
    snapshot.lastDecisionReason = reason;
    for (const auto& name : matchedNames) {
        snapshot.matchedProcesses.push_back({.pid = 7, .executableName = name});
    }
    return snapshot;
}

RuntimeSnapshot held(RuntimeSnapshot snapshot) {
    snapshot.isWakeAssertionActive = true;
    return snapshot;
}

RuntimeSnapshot failed(const std::optional<std::string>& error) {
    auto snapshot = because(Reason::error);
    snapshot.lastError = error;
    return snapshot;
}

struct Row {
    std::string name;
    AppConfig config;
    RuntimeSnapshot snapshot;
    RuntimeStatusCopy expected;
};

const std::vector<Row> rows{
    {"disabled", configFor(codex), because(Reason::disabled), {"paused", "tavo is off"}},
    {"idle, switched off", configFor(codex, false), because(Reason::idle), {"paused", "tavo is off"}},
    {"idle, process", configFor(codex), because(Reason::idle), {"waiting for codex", "starts when codex runs"}},
    {"idle, always", configFor(always), because(Reason::idle), {"ready", "always on"}},
    {"active, always", configFor(always), because(Reason::active), {"keeping mac awake", "always on"}},
    {"active, no match", configFor(codex), because(Reason::active), {"keeping mac awake", "codex is running"}},
    {"active, match",
     configFor(cursor),
     because(Reason::active, {"Cursor Helper", "other"}),
     {"keeping mac awake", "cursor helper is running"}},
    {"active, always with a match",
     configFor(always),
     because(Reason::active, {"Codex"}),
     {"keeping mac awake", "codex is running"}},
    {"no match",
     configFor(cursor),
     because(Reason::noMatchingProcess),
     {"waiting for cursor", "starts when cursor runs"}},
    {"no match, always", configFor(always), because(Reason::noMatchingProcess), {"ready", "always on"}},
    {"no match, switched off",
     configFor(cursor, false),
     because(Reason::noMatchingProcess),
     {"waiting for cursor", "starts when cursor runs"}},
    {"no match, claude code",
     configFor(defaultRule(TriggerPreset::claudeCode)),
     because(Reason::noMatchingProcess),
     {"waiting for claude code", "starts when claude code runs"}},
    {"no match, blank query",
     configFor(custom(" \t\n")),
     because(Reason::noMatchingProcess),
     {"waiting for custom", "starts when custom runs"}},
    {"no match, own query",
     configFor(custom("  My Tool\n")),
     because(Reason::noMatchingProcess),
     {"waiting for my tool", "starts when my tool runs"}},
    {"idle process",
     configFor(codex),
     because(Reason::insufficientActivity, {"Codex", "other"}),
     {"waiting for activity", "codex is idle"}},
    {"no activity",
     configFor(codex),
     because(Reason::insufficientActivity),
     {"waiting for activity", "activity required"}},
    {"limit, match",
     configFor(codex),
     because(Reason::maxDurationReached, {"Codex", "other"}),
     {"limit reached", "starts again after codex quits"}},
    {"limit", configFor(codex), because(Reason::maxDurationReached), {"limit reached", "waiting to restart"}},
    {"error in its own case", configFor(codex), failed("Disk FULL."), {"needs attention", "Disk FULL."}},
    {"error without a text", configFor(codex), failed(std::nullopt), {"needs attention", "open settings"}},
    {"error with an empty text", configFor(codex), failed(""), {"needs attention", ""}},
    {"held after an error", configFor(codex), held(failed("Disk FULL.")), {"keeping mac awake", "codex is running"}},
    {"held though disabled",
     configFor(always, false),
     held(because(Reason::disabled)),
     {"keeping mac awake", "always on"}},
    {"held with a match",
     configFor(codex),
     held(because(Reason::noMatchingProcess, {"NODE"})),
     {"keeping mac awake", "node is running"}},
    {"held, blank query",
     configFor(custom(" ")),
     held(because(Reason::active)),
     {"keeping mac awake", "custom is running"}},
};

TEST(StatusCopy, EveryDecisionHasItsTitleAndDetail) {
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto copy = RuntimeStatusCopy::make(row.config, row.snapshot, {});
        EXPECT_EQ(copy.title, row.expected.title);
        EXPECT_EQ(copy.detail, row.expected.detail);
    }
}

TEST(StatusCopy, TheMachineIsCalledAsItsUsersCallIt) {
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto expected = row.expected;
        if (expected.title == "keeping mac awake") {
            expected.title = "keeping computer awake";
        }
        EXPECT_EQ(RuntimeStatusCopy::make(row.config, row.snapshot, {}, "computer"), expected);
    }
}

struct PowerRow {
    PowerStatus status;
    std::string detail;
    std::string summary;
};

const std::vector<PowerRow> powerRows{
    {{.source = CurrentPowerSource::ac}, "on ac", "ac"},
    {{.source = CurrentPowerSource::battery}, "on battery", "battery"},
    {{.source = CurrentPowerSource::unknown}, "power unavailable", "power"},
    {{.source = CurrentPowerSource::ac, .batteryPercent = 100}, "battery 100%", "ac 100%"},
    {{.source = CurrentPowerSource::battery, .batteryPercent = 42}, "battery 42%", "battery 42%"},
    {{.source = CurrentPowerSource::unknown, .batteryPercent = 7}, "battery 7%", "power 7%"},
    {{.source = CurrentPowerSource::battery, .batteryPercent = 0}, "battery 0%", "battery 0%"},
    {{.source = CurrentPowerSource::battery, .batteryPercent = 130}, "battery 130%", "battery 130%"},
};

TEST(StatusCopy, ThePowerDetailIsTheChargeOrElseTheSource) {
    for (const auto& row : powerRows) {
        SCOPED_TRACE(row.detail);
        EXPECT_EQ(RuntimeStatusCopy::make(configFor(codex), because(Reason::batteryCutoffReached), row.status),
                  (RuntimeStatusCopy{"battery protected", row.detail}));
        EXPECT_EQ(RuntimeStatusCopy::make(configFor(codex), because(Reason::powerSourceMismatch), row.status),
                  (RuntimeStatusCopy{"waiting for power", row.detail}));
    }
}

TEST(StatusCopy, APolicySaysWhichPowerItWaitsForWhateverTheSource) {
    auto config = configFor(codex);
    for (const auto& row : powerRows) {
        config.powerSourcePolicy = PowerSourcePolicy::acOnly;
        EXPECT_EQ(RuntimeStatusCopy::make(config, because(Reason::powerSourceMismatch), row.status),
                  (RuntimeStatusCopy{"waiting for ac", "plug in to start"}));
        config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
        EXPECT_EQ(RuntimeStatusCopy::make(config, because(Reason::powerSourceMismatch), row.status),
                  (RuntimeStatusCopy{"waiting for battery", "unplug to start"}));
    }
}

TEST(StatusCopy, ThePowerSummaryIsTheSourceAndTheCharge) {
    for (const auto& row : powerRows) {
        EXPECT_EQ(summaryText(row.status), row.summary);
    }
}

TEST(StatusCopy, EveryTriggerHasAShortName) {
    EXPECT_EQ(shortDisplayName(always), "always on");
    EXPECT_EQ(shortDisplayName(codex), "codex");
    EXPECT_EQ(shortDisplayName(defaultRule(TriggerPreset::claudeCode)), "claude code");
    EXPECT_EQ(shortDisplayName(cursor), "cursor");
    EXPECT_EQ(shortDisplayName(custom("\u00A0\u00C4RGER\n")), "\u00E4rger");
    EXPECT_EQ(shortDisplayName(custom("")), "custom");
}

TEST(StatusCopy, TheModeGoesBeforeThePresetAndThePresetBeforeTheQuery) {
    auto rule = codex;
    rule.mode = TriggerMode::always;
    EXPECT_EQ(shortDisplayName(rule), "always on");
    rule = always;
    rule.mode = TriggerMode::process;
    EXPECT_EQ(shortDisplayName(rule), "always on");
    rule = codex;
    rule.query = "something else";
    EXPECT_EQ(shortDisplayName(rule), "codex");
}

TEST(HelperStatus, HasATitleAndADetailForEveryState) {
    using State = PrivilegedHelperInstallState;
    struct Row {
        State state;
        std::string title;
        std::string detail;
    };
    for (const auto& row : {Row{State::notInstalled, "not granted", "grant permission"},
                            Row{State::installedUnreachable, "needs refresh", "permission denied"},
                            Row{State::ready, "", "permission granted"}}) {
        EXPECT_EQ(helperStatusTitle(row.state), row.title);
        EXPECT_EQ(helperStatusDetail(row.state), row.detail);
    }
}

TEST(BatteryStatusBadge, ClampsWhatTheSummaryDoesNot) {
    struct Row {
        std::optional<std::int32_t> percent;
        std::optional<double> level;
        std::string text;
    };
    for (const auto& row : {Row{130, 1.0, "100%"}, Row{100, 1.0, "100%"}, Row{42, 0.42, "42%"}, Row{0, 0.0, "0%"},
                            Row{-5, 0.0, "0%"}, Row{std::nullopt, std::nullopt, "ac"}}) {
        PowerStatus status;
        status.source = CurrentPowerSource::ac;
        status.batteryPercent = row.percent;
        const BatteryStatusBadge badge{status};
        EXPECT_EQ(badge.level(), row.level);
        EXPECT_EQ(badge.displayText(), row.text);
    }
    PowerStatus overfull;
    overfull.source = CurrentPowerSource::battery;
    overfull.batteryPercent = 130;
    EXPECT_EQ(summaryText(overfull), "battery 130%");
}

TEST(BatteryStatusBadge, WithoutAChargeOnlyTheMainsHaveAWord) {
    for (const auto source : {CurrentPowerSource::battery, CurrentPowerSource::unknown}) {
        PowerStatus status;
        status.source = source;
        EXPECT_EQ(BatteryStatusBadge{status}.displayText(), "--");
        EXPECT_EQ(BatteryStatusBadge{status}.level(), std::nullopt);
    }
}

} // namespace
} // namespace tavo
