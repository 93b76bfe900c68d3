#include "helper/SleepOverrideJournal.h"

#include "base/AtomicFile.h"
#include "base/JsonCoding.h"

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

std::optional<uid_t> readUser(const JsonObjectReader& reader, const std::string& path) {
    const auto user = reader.optional<std::int64_t>("user");
    // The largest number means "no user" to the kernel's calls.
    if (user && (*user < 0 || *user >= std::int64_t(std::numeric_limits<uid_t>::max()))) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "this is no user.");
    }
    return user ? std::optional(static_cast<uid_t>(*user)) : std::nullopt;
}

} // namespace

SleepOverride SleepOverride::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    const auto pid = reader.required<std::int32_t>("pid");
    const auto startTime = reader.required<std::int64_t>("startTime");
    if (pid <= 0 || startTime < 0) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "this is no process.");
    }
    return {{pid, static_cast<std::uint64_t>(startTime)}, readScopes(reader, "scopes"), readUser(reader, path)};
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
    for (const auto& recorded : record.overrides) {
        json["overrides"].push_back({{"pid", recorded.owner.pid},
                                     {"startTime", recorded.owner.startTime},
                                     {"scopes", scopesJson(recorded.scopes)}});
        if (recorded.user) {
            json["overrides"].back()["user"] = *recorded.user;
        }
    }
    replaceFileAtomically(file, prettyJson(json), readableByAll);
}

} // namespace tavo
