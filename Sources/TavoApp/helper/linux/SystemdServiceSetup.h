#pragma once

#include "helper/HelperServiceSetup.h"
#include "helper/linux/HelperLocations.h"

#include <string_view>

namespace tavo {

/// Where a system with systemd has the helper.
struct SystemdHelperLayout {
    std::filesystem::path helperExecutable = "/usr/local/libexec/TavoPrivilegedHelper";
    std::filesystem::path unitFile = "/etc/systemd/system/com.vrd.tavo.helper.service";

    /// The leftover of a helper that could not end its overrides.
    std::filesystem::path lidDropIn = HelperLocations::lidDropIn();

    /// The socket unit of a distribution's package, which listens for its own helper, and the grant of that.
    std::filesystem::path packagedSocketUnit = HelperLocations::packagedSocketUnit();
    std::filesystem::path grant = HelperLocations::grant();

    /// Exists while systemd runs the system, sd_booted(3).
    std::filesystem::path systemdMark = "/run/systemd/system";

    /// Where the scripts find their commands.
    std::string searchPath = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

    bool operator==(const SystemdHelperLayout&) const = default;
};

/// The helper as a system service of systemd.
///
/// The installation takes nothing on trust that the user may change while a password is typed: root copies both files,
/// compares the copies' SHA-256 with what the files were when the script was made, and only then puts them into place.
/// Nor are folders trusted that somebody else than root may write to, at any level above the files, links included. The
/// user whom the helper serves is the one who gave the approval, by the word of pkexec(1) or sudo(8). A helper of a
/// distribution's package is not to be used at the same time: its grant ends.
class SystemdServiceSetup final : public ScriptServiceSetup {
public:
    static constexpr std::string_view unitName = "com.vrd.tavo.helper.service";

    explicit SystemdServiceSetup(SystemdHelperLayout layout = {}) : layout(std::move(layout)) {}

    std::filesystem::path helperExecutable() const override { return layout.helperExecutable; }
    std::filesystem::path serviceDefinition() const override { return layout.unitFile; }

    std::filesystem::path overrideJournal() const override { return HelperLocations::overrideJournal(); }

    /// The unit, in which the user to serve is still to be filled in.
    std::string serviceDefinitionContent() const override;
    bool isOwnDefinition(const std::string& content) const override;
    std::optional<uid_t> servedUser(const std::string& definition) const override;

    /// A folder among the temporary files: the configuration may lie where root may not read, or must not go.
    std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const override;

    /// @throws PrivilegedHelperInstallerError when systemd does not run the system.
    std::string installScript(const std::filesystem::path& source,
                              const std::filesystem::path& stagedDefinition) const override;

    /// @throws PrivilegedHelperInstallerError when systemd does not run the system.
    std::string uninstallScript() const override;

    /// See deferredRemoval().
    ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const override;

private:
    std::string prologue() const;
    std::string removalLines() const;
    std::string packageRevocationLines() const;

    SystemdHelperLayout layout;
};

} // namespace tavo
