#include "base/RuntimeRecords.h"

#include "base/JsonCoding.h"

namespace tavo {

MatchedProcessSnapshot MatchedProcessSnapshot::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.pid = reader.required<std::int32_t>("pid"),
            .executableName = reader.required<std::string>("executableName"),
            .commandLine = reader.optional<std::string>("commandLine")};
}

RuntimeSnapshot RuntimeSnapshot::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.isEnabled = reader.required<bool>("isEnabled"),
            .isWakeAssertionActive = reader.required<bool>("isWakeAssertionActive"),
            .lastEvaluationDate = reader.optional<TimePoint>("lastEvaluationDate"),
            .lastDecisionReason = reader.required<RuntimeDecisionReason>("lastDecisionReason"),
            .matchedProcesses = reader.required<std::vector<MatchedProcessSnapshot>>("matchedProcesses"),
            .lastError = reader.optional<std::string>("lastError")};
}

void to_json(Json& json, const MatchedProcessSnapshot& process) {
    json = Json{{"pid", process.pid}, {"executableName", process.executableName}};
    if (process.commandLine) {
        json["commandLine"] = *process.commandLine;
    }
}

void to_json(Json& json, const RuntimeSnapshot& snapshot) {
    json = Json{{"isEnabled", snapshot.isEnabled},
                {"isWakeAssertionActive", snapshot.isWakeAssertionActive},
                {"lastDecisionReason", rawValue(snapshot.lastDecisionReason)},
                {"matchedProcesses", snapshot.matchedProcesses}};
    if (snapshot.lastEvaluationDate) {
        json["lastEvaluationDate"] = formatISO8601(*snapshot.lastEvaluationDate);
    }
    if (snapshot.lastError) {
        json["lastError"] = *snapshot.lastError;
    }
}

} // namespace tavo
