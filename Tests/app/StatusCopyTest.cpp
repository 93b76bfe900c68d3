#include "app/StatusCopy.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using Reason = RuntimeDecisionReason;

AppConfig configWith(const TriggerRule& trigger, PowerSourcePolicy policy = PowerSourcePolicy::any,
                     bool isEnabled = true) {
    AppConfig config;
    config.isEnabled = isEnabled;
    config.trigger = trigger;
    config.powerSourcePolicy = policy;
    return config;
}

const auto always = defaultRule(TriggerPreset::always);
const auto codex = defaultRule(TriggerPreset::codex);
const auto cursor = defaultRule(TriggerPreset::cursor);
const TriggerRule blank{.mode = TriggerMode::process, .query = " \n "};
const std::vector<MatchedProcessSnapshot> codexRuns{{.pid = 1, .executableName = "Codex"},
                                                    {.pid = 2, .executableName = "x"}};
const PowerStatus unknownPower;
const PowerStatus lowBattery{.source = CurrentPowerSource::battery, .batteryPercent = 12};

struct Row {
    AppConfig config;
    bool isAwake;
    Reason reason;
    std::vector<MatchedProcessSnapshot> matches;
    std::optional<std::string> error;
    PowerStatus power;
    const char* title;
    const char* detail;
};

TEST(RuntimeStatusCopy, EveryCombinationHasItsText) {
    const auto off = configWith(codex, PowerSourcePolicy::any, false);
    const std::vector<Row> rows{
        {configWith(always), true, Reason::error, {}, "Bad", {}, "keeping mac awake", "always on"},
        {configWith(codex), true, Reason::active, codexRuns, {}, {}, "keeping mac awake", "codex is running"},
        {configWith(cursor), true, Reason::active, {}, {}, {}, "keeping mac awake", "cursor is running"},
        {configWith(codex), false, Reason::disabled, {}, {}, {}, "paused", "tavo is off"},
        {off, false, Reason::idle, {}, {}, {}, "paused", "tavo is off"},
        {configWith(cursor), false, Reason::idle, {}, {}, {}, "waiting for cursor", "starts when cursor runs"},
        {configWith(always), false, Reason::idle, {}, {}, {}, "ready", "always on"},
        {configWith(codex), false, Reason::active, {}, {}, {}, "keeping mac awake", "codex is running"},
        {configWith(blank),
         false,
         Reason::noMatchingProcess,
         {},
         {},
         {},
         "waiting for custom",
         "starts when custom runs"},
        {configWith(codex),
         false,
         Reason::insufficientActivity,
         codexRuns,
         {},
         {},
         "waiting for activity",
         "codex is idle"},
        {configWith(codex),
         false,
         Reason::insufficientActivity,
         {},
         {},
         {},
         "waiting for activity",
         "activity required"},
        {configWith(always),
         false,
         Reason::powerSourceMismatch,
         {},
         {},
         unknownPower,
         "waiting for power",
         "power unavailable"},
        {configWith(always),
         false,
         Reason::powerSourceMismatch,
         {},
         {},
         lowBattery,
         "waiting for power",
         "battery 12%"},
        {configWith(always, PowerSourcePolicy::acOnly),
         false,
         Reason::powerSourceMismatch,
         {},
         {},
         {},
         "waiting for ac",
         "plug in to start"},
        {configWith(always, PowerSourcePolicy::batteryOnly),
         false,
         Reason::powerSourceMismatch,
         {},
         {},
         {},
         "waiting for battery",
         "unplug to start"},
        {configWith(always),
         false,
         Reason::batteryCutoffReached,
         {},
         {},
         lowBattery,
         "battery protected",
         "battery 12%"},
        {configWith(always),
         false,
         Reason::batteryCutoffReached,
         {},
         {},
         {.source = CurrentPowerSource::battery},
         "battery protected",
         "on battery"},
        {configWith(always),
         false,
         Reason::batteryCutoffReached,
         {},
         {},
         {.source = CurrentPowerSource::ac},
         "battery protected",
         "on ac"},
        {configWith(codex),
         false,
         Reason::maxDurationReached,
         codexRuns,
         {},
         {},
         "limit reached",
         "starts again after codex quits"},
        {configWith(codex), false, Reason::maxDurationReached, {}, {}, {}, "limit reached", "waiting to restart"},
        {configWith(codex), false, Reason::error, {}, "Logind Said No", {}, "needs attention", "Logind Said No"},
        {configWith(codex), false, Reason::error, {}, {}, {}, "needs attention", "open settings"},
    };
    for (const auto& row : rows) {
        const RuntimeSnapshot snapshot{.isEnabled = true,
                                       .isWakeAssertionActive = row.isAwake,
                                       .lastDecisionReason = row.reason,
                                       .matchedProcesses = row.matches,
                                       .lastError = row.error};
        const auto copy = RuntimeStatusCopy::make(row.config, snapshot, row.power);
        EXPECT_EQ(copy.title, row.title) << rawValue(row.reason);
        EXPECT_EQ(copy.detail, row.detail) << rawValue(row.reason);
    }
}

TEST(RuntimeStatusCopy, TheMachineHasItsOwnNoun) {
    const RuntimeSnapshot snapshot{.isWakeAssertionActive = true};
    EXPECT_EQ(RuntimeStatusCopy::make({}, snapshot, {}, "computer").title, "keeping computer awake");
}

TEST(ShortDisplayName, TheFirstThatFitsIsTaken) {
    EXPECT_EQ(shortDisplayName({.mode = TriggerMode::always, .query = "X"}), "always on");
    EXPECT_EQ(shortDisplayName({.mode = TriggerMode::process, .preset = TriggerPreset::always}), "always on");
    EXPECT_EQ(shortDisplayName(defaultRule(TriggerPreset::claudeCode)), "claude code");
    EXPECT_EQ(shortDisplayName({.mode = TriggerMode::process, .query = "  My Agent\n"}), "my agent");
    EXPECT_EQ(shortDisplayName(blank), "custom");
}

TEST(PowerSummary, TheChargeIsNotClamped) {
    EXPECT_EQ(summaryText({.source = CurrentPowerSource::battery, .batteryPercent = 80}), "battery 80%");
    EXPECT_EQ(summaryText({.source = CurrentPowerSource::ac, .batteryPercent = 130}), "ac 130%");
    EXPECT_EQ(summaryText({.source = CurrentPowerSource::ac}), "ac");
    EXPECT_EQ(summaryText({}), "power");
}

} // namespace
} // namespace tavo
