#pragma once

#include "helper/HelperServiceSetup.h"
#include "helper/linux/HelperLocations.h"

#include <chrono>
#include <string_view>

namespace tavo {

/// Where a system with systemd has the helper.
struct SystemdHelperLayout {
    std::filesystem::path helperExecutable = "/usr/local/libexec/TavoPrivilegedHelper";
    std::filesystem::path unitFile = "/etc/systemd/system/com.vrd.tavo.helper.service";

    /// The leftover of a helper that could not end its overrides.
    std::filesystem::path lidDropIn = HelperLocations::lidDropIn();

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
/// user whom the helper serves is the one who gave the approval, by the word of pkexec(1) or sudo(8).
class SystemdServiceSetup final : public HelperServiceSetup {
public:
    static constexpr std::string_view unitName = "com.vrd.tavo.helper.service";

    /// The removal that the helper asks for runs as this unit: one at a time, and one that an installation can end.
    static constexpr std::string_view removalUnitName = "com.vrd.tavo.helper-removal.service";

    /// Longer than the helper may take to stop, and to be cleaned up after.
    static constexpr std::chrono::seconds maxRemoval{90};

    explicit SystemdServiceSetup(SystemdHelperLayout layout = {}) : layout(std::move(layout)) {}

    std::filesystem::path helperExecutable() const override { return layout.helperExecutable; }
    std::filesystem::path serviceDefinition() const override { return layout.unitFile; }

    /// In the service's own folder, which is gone after a restart of the machine as the setting itself is.
    std::filesystem::path overrideJournal() const override { return "/run/com.vrd.tavo.helper/overrides.json"; }

    /// The unit, in which the user to serve is still to be filled in.
    std::string serviceDefinitionContent() const override;

    /// A folder among the temporary files: the configuration may lie where root may not read, or must not go.
    std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const override;

    /// @throws PrivilegedHelperInstallerError when systemd does not run the system.
    std::string installScript(const std::filesystem::path& source,
                              const std::filesystem::path& stagedDefinition) const override;

    /// @throws PrivilegedHelperInstallerError when systemd does not run the system.
    std::string uninstallScript() const override;

    /// In a unit of its own: the service's control group ends with the service, whatever runs in it. Succeeds without
    /// doing anything while an earlier removal is under way.
    ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const override;

private:
    std::string prologue() const;
    std::string removalLines() const;

    SystemdHelperLayout layout;
};

} // namespace tavo
