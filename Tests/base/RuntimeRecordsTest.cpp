#include "base/RuntimeRecords.h"

#include "base/JsonCoding.h"
#include "base/PowerStatus.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(RuntimeSnapshot, IdleHasExactlyFourKeys) {
    EXPECT_EQ(Json(RuntimeSnapshot::idle()),
              parseJson(R"({"isEnabled": false, "isWakeAssertionActive": false, "lastDecisionReason": "idle",
                            "matchedProcesses": []})"));
}

TEST(RuntimeSnapshot, ErrorAndDateMayBeMissingOrNull) {
    const auto snapshot = RuntimeSnapshot::fromJson(
        parseJson(R"({"isEnabled": true, "isWakeAssertionActive": true, "lastDecisionReason": "active",
                      "matchedProcesses": [], "lastEvaluationDate": null})"));
    EXPECT_EQ(snapshot.lastError, std::nullopt);
    EXPECT_EQ(snapshot.lastEvaluationDate, std::nullopt);
    EXPECT_EQ(snapshot.lastDecisionReason, RuntimeDecisionReason::active);
}

TEST(RuntimeSnapshot, EveryOtherKeyIsRequired) {
    for (const auto* key : {"isEnabled", "isWakeAssertionActive", "lastDecisionReason", "matchedProcesses"}) {
        Json json(RuntimeSnapshot::idle());
        json.erase(key);
        try {
            RuntimeSnapshot::fromJson(json);
            ADD_FAILURE() << key << " may be missing";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.path(), key);
        }
    }
}

struct BadSnapshot {
    const char* key;
    const char* value;
    const char* path;
};

TEST(RuntimeSnapshot, BadValuesAreNamedByTheirPath) {
    for (const auto& [key, value, path] : std::initializer_list<BadSnapshot>{
             {"lastDecisionReason", R"("tired")", "lastDecisionReason"},
             {"lastEvaluationDate", R"("yesterday")", "lastEvaluationDate"},
             {"lastEvaluationDate", "5", "lastEvaluationDate"},
             {"lastError", "5", "lastError"},
             {"matchedProcesses", "{}", "matchedProcesses"},
             {"matchedProcesses", R"([{"pid": 1, "executableName": "a"}, 3])", "matchedProcesses[1]"},
             {"matchedProcesses", R"([{"executableName": "a"}])", "matchedProcesses[0].pid"},
             {"matchedProcesses", R"([{"pid": 1}])", "matchedProcesses[0].executableName"},
             {"matchedProcesses", R"([{"pid": 2147483648, "executableName": "a"}])", "matchedProcesses[0].pid"},
             {"matchedProcesses", R"([{"pid": 1, "executableName": "a", "commandLine": 1}])",
              "matchedProcesses[0].commandLine"},
         }) {
        Json json(RuntimeSnapshot::idle());
        json[key] = parseJson(value);
        try {
            RuntimeSnapshot::fromJson(json);
            ADD_FAILURE() << key << " took " << value;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.path(), path);
        }
    }
}

TEST(RuntimeSnapshot, EveryReasonReadsBack) {
    for (const auto reason : allCases<RuntimeDecisionReason>()) {
        RuntimeSnapshot snapshot;
        snapshot.lastDecisionReason = reason;
        EXPECT_EQ(RuntimeSnapshot::fromJson(Json(snapshot)), snapshot);
    }
}

TEST(MatchedProcessSnapshot, AnUnreadableCommandLineIsLeftOut) {
    const MatchedProcessSnapshot process{.pid = 9, .executableName = "ghost", .commandLine = {}};
    const Json json(process);
    EXPECT_FALSE(json.contains("commandLine"));
    EXPECT_EQ(MatchedProcessSnapshot::fromJson(json), process);
}

TEST(PowerStatus, WhatIsUnknownIsLeftOut) {
    const PowerStatus nothingKnown;
    EXPECT_EQ(Json(nothingKnown), parseJson(R"({"source": "unknown"})"));
    EXPECT_EQ(PowerStatus::fromJson(Json(nothingKnown)), nothingKnown);
    const PowerStatus full{.source = CurrentPowerSource::ac, .batteryPercent = 103, .isCharging = false};
    EXPECT_EQ(Json(full), parseJson(R"({"source": "ac", "batteryPercent": 103, "isCharging": false})"));
    EXPECT_EQ(PowerStatus::fromJson(Json(full)), full);
    EXPECT_THROW(PowerStatus::fromJson(parseJson(R"({"source": "sun"})")), DecodingError);
    EXPECT_THROW(PowerStatus::fromJson(parseJson("{}")), DecodingError);
}

} // namespace
} // namespace tavo
