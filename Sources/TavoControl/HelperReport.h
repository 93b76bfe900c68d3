#pragma once

#include "base/Json.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/SleepOverrideJournal.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// What is known of the privileged helper.
struct HelperFacts {
    PrivilegedHelperInstallState state = PrivilegedHelperInstallState::notInstalled;
    std::string buildVersion;
    std::filesystem::path installedFile;

    /// Absent when the installed file does not tell.
    std::optional<std::string> installedVersion;

    /// Whether this build has a helper to compare with.
    bool hasSource = false;
    bool matchesThisBuild = false;

    /// The file that tells the system's service manager what to run, if it is not what this build installs.
    std::optional<std::filesystem::path> otherDefinition;

    /// Who asked for what.
    std::vector<SleepOverride> overrides;
    std::optional<std::string> overridesError;
};

/// For people: a word and what there is to say of it, one line each.
std::vector<std::string> helperReportLines(const HelperFacts& facts);

/// For programs.
Json helperReportJson(const HelperFacts& facts);

} // namespace tavo
