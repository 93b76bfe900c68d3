#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "base/Json.h"
#include "config/TavoStore.h"
#include "helper/ClosedLidSupport.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/SleepOverrideJournal.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Everything that "tavoctl helper status" knows.
struct HelperFacts {
    PrivilegedHelperInstallState state = PrivilegedHelperInstallState::notInstalled;
    std::string buildVersion;
    std::filesystem::path installedFile;

    /// Whether the helper came with the system's package, and its use is granted to a user.
    bool isPackaged = false;

    /// The user whom it serves beside root; absent when the service definition does not tell.
    std::optional<uid_t> servedUser;

    /// Who asks.
    uid_t user = 0;

    /// Absent when the installed file does not tell.
    std::optional<std::string> installedVersion;

    /// Whether this build has a helper to compare with.
    bool hasSource = false;
    bool matchesThisBuild = false;

    /// The file that tells the system's service manager what to run, if it is not what this build installs.
    std::optional<std::filesystem::path> otherDefinition;

    /// The overrides in effect.
    std::vector<SleepOverride> overrides;
    std::optional<std::string> overridesError;
};

/// For people: a word and its finding, one line each.
std::vector<std::string> helperReportLines(const HelperFacts& facts);

/// For programs.
Json helperReportJson(const HelperFacts& facts);

/// Shows, installs and removes the privileged helper.
class HelperCommand {
public:
    HelperCommand(const Platform& platform, const TavoStoring& store);

    /// @throws PrivilegedHelperInstallerError, PrivilegedHelperClientError and the errors of running commands.
    ExitStatus carryOut(const HelperCommandOptions& options) const;

private:
    ExitStatus printStatus(bool json) const;
    ExitStatus install() const;
    ExitStatus uninstall() const;
    ExitStatus reset() const;

    bool isGrantedInPlace() const;
    void recordPermission(bool granted) const;

    const Platform& platform;
    const TavoStoring& store;
    ClosedLidSupport support;
};

} // namespace tavo
