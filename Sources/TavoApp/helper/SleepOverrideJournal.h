#pragma once

#include "base/Json.h"
#include "helper/PrivilegedSleepControlling.h"
#include "system/ProcessStart.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The overrides of one process.
struct SleepOverride {
    ProcessIdentity owner;

    /// In the scopes' own order, each once.
    std::vector<PMSetScope> scopes;

    /// The user of the process. Not known for the records of an earlier version.
    std::optional<uid_t> user = std::nullopt;

    bool operator==(const SleepOverride&) const = default;

    static SleepOverride fromJson(const Json& value, const std::string& path = {});
};

/// The helper's memory beyond its own life.
struct SleepOverrideRecord {
    std::vector<SleepOverride> overrides;

    /// The scopes whose overrides are in force, or were about to be: a helper that died has left them so.
    std::vector<PMSetScope> scopesInForce;

    bool isEmpty() const { return overrides.empty() && scopesInForce.empty(); }

    bool operator==(const SleepOverrideRecord&) const = default;

    static SleepOverrideRecord fromJson(const Json& value, const std::string& path = {});
};

/// The file in which the helper keeps its record: written by root, readable by all, so that a user can be told who
/// keeps the machine from sleeping. Its folder must exist and be root's own.
class SleepOverrideJournal {
public:
    explicit SleepOverrideJournal(std::filesystem::path file) : file(std::move(file)) {}

    /// An empty record when there is no file. @throws DecodingError, std::system_error when it cannot be read.
    SleepOverrideRecord load() const;

    /// Replaces the file atomically; removes it when there is nothing to remember. @throws std::system_error
    void save(const SleepOverrideRecord& record) const;

private:
    std::filesystem::path file;
};

} // namespace tavo
