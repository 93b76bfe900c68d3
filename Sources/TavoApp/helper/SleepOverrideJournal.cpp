#include "helper/SleepOverrideJournal.h"

#include "config/AtomicFile.h"

#include <algorithm>
#include <limits>

namespace tavo {

namespace {

constexpr mode_t readableByAll = 0644;

Json scopesJson(const std::vector<PMSetScope>& scopes) {
    auto list = Json::array();
    for (const auto scope : scopes) {
        list.push_back(rawValue(scope));
    }
    return list;
}

/// In one order and without repetitions, as the record promises.
std::vector<PMSetScope> readScopes(const JsonObjectReader& reader, std::string_view key) {
    auto scopes = reader.required<std::vector<PMSetScope>>(key);
    std::sort(scopes.begin(), scopes.end());
    scopes.erase(std::unique(scopes.begin(), scopes.end()), scopes.end());
    return scopes;
}

} // namespace

SleepOverride SleepOverride::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    const auto pid = reader.required<std::int32_t>("pid");
    const auto startTime = reader.required<std::int64_t>("startTime");
    if (pid <= 0 || startTime < 0) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "this is no process.");
    }
    return {{pid, static_cast<std::uint64_t>(startTime)}, readScopes(reader, "scopes")};
}

SleepOverrideRecord SleepOverrideRecord::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    SleepOverrideRecord record;
    record.overrides = reader.required<std::vector<SleepOverride>>("overrides");
    record.scopesInForce = readScopes(reader, "scopesInForce");
    return record;
}

SleepOverrideRecord SleepOverrideJournal::load() const {
    if (!std::filesystem::exists(file)) {
        return {};
    }
    return SleepOverrideRecord::fromJson(parseJson(readWholeFile(file)));
}

void SleepOverrideJournal::save(const SleepOverrideRecord& record) const {
    if (record.isEmpty()) {
        std::filesystem::remove(file);
        return;
    }
    Json json{{"overrides", Json::array()}, {"scopesInForce", scopesJson(record.scopesInForce)}};
    for (const auto& override : record.overrides) {
        json["overrides"].push_back({{"pid", override.owner.pid},
                                     {"startTime", override.owner.startTime},
                                     {"scopes", scopesJson(override.scopes)}});
    }
    replaceFileAtomically(file, prettyJson(json), readableByAll);
}

} // namespace tavo
