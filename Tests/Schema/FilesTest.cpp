#include "Support/DescribedJson.h"
#include "base/JsonCoding.h"
#include "base/RuntimeRecords.h"
#include "config/AppConfig.h"
#include "config/HistoryEntry.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

const TimePoint moment = *parseISO8601("2026-01-31T09:05:00Z");

TEST(FileSchemas, DescribeEveryConfiguration) {
    AppConfig config;
    for (const auto preset : allCases<TriggerPreset>()) {
        config.trigger = defaultRule(preset);
        describedJson("config", prettyJson(config));
        describedJson("get", prettyJson(config));
    }
    config.batteryCutoffPercent.reset();
    config.trigger = {.mode = TriggerMode::process, .query = "npm test"};
    describedJson("config", prettyJson(config));
    describedJson("get", prettyJson(config));
}

TEST(FileSchemas, DescribeAConfigurationWrittenByHand) {
    const std::string text = R"({"isEnabled": true, "watchMode": "open", "powerSourcePolicy": "any",
        "maxAwakeDuration": "none", "pollIntervalSeconds": 60, "launchAtLoginEnabled": false,
        "trigger": {"preset": "claudeCode", "query": "claude"}})";
    ASSERT_NO_THROW(AppConfig::fromJson(parseJson(text)));
    describedJson("config", text);
}

TEST(FileSchemas, DescribeEveryState) {
    describedJson("state", prettyJson(RuntimeSnapshot::idle()));
    describedJson("state", prettyJson(RuntimeSnapshot{
                               .isEnabled = true,
                               .isWakeAssertionActive = true,
                               .lastEvaluationDate = moment,
                               .lastDecisionReason = RuntimeDecisionReason::error,
                               .matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "codex -C ."},
                                                    {.pid = 8, .executableName = "codex"}},
                               .lastError = "no lock."}));
}

TEST(FileSchemas, DescribeEveryLineOfAHistory) {
    const HistoryWriter writer{
        .program = "tavo", .processID = 12, .startTime = std::uint64_t{1} << 60U, .isOnlyOne = true};
    const HistoryState state{.reason = RuntimeDecisionReason::active,
                             .isAwake = true,
                             .isStopped = true,
                             .processes = {{.processID = 7, .name = "codex"}},
                             .held = "idle:sleep (logind)"};
    for (const auto& entry :
         {HistoryEntry{.event = HistoryEvent::start, .time = moment, .writer = writer, .lastSeen = moment},
          HistoryEntry{.event = HistoryEvent::start, .time = moment},
          HistoryEntry{.event = HistoryEvent::change, .time = moment, .writer = writer, .state = state},
          HistoryEntry{.event = HistoryEvent::change, .time = moment},
          HistoryEntry{.event = HistoryEvent::suspend,
          .time = moment,
          .writer = writer,
          .suspendedFrom = moment,
          .suspendedSeconds = 60},
          HistoryEntry{.event = HistoryEvent::end, .time = moment, .writer = writer, .why = "the 8s are over"},
          HistoryEntry{.event = HistoryEvent::end, .time = moment}}) {
        describedJson("history-file", entry.line());
    }
}

} // namespace
} // namespace tavo
