#pragma once

#include "helper/HelperServiceSetup.h"
#include "helper/linux/HelperLocations.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// Where a distribution's package has the helper, and where its use is granted.
struct PackagedHelperLayout {
    std::filesystem::path helperExecutable = "/usr/libexec/tavo/TavoPrivilegedHelper";
    std::filesystem::path socketUnit = HelperLocations::packagedSocketUnit();
    std::filesystem::path grant = HelperLocations::grant();

    /// Exists while systemd runs the system, sd_booted(3).
    std::filesystem::path systemdMark = "/run/systemd/system";

    bool operator==(const PackagedHelperLayout&) const = default;
};

/// The file that grants one user the use of the packaged helper: a drop-in that makes the service's socket that user's
/// own, systemd.socket(5).
struct HelperGrantFile {
    HelperGrantFile() = delete;

    static std::string contentFor(uid_t user);

    /// Nothing when it does not name exactly one user by number.
    static std::optional<uid_t> userIn(std::string_view content);
};

/// The helper of a distribution's package: used where it lies, and granted to one user.
///
/// The packaged program itself does root's part, so that polkit can ask for approval in Tavo's name (pkexec(1),
/// org.freedesktop.policykit.exec.path). No grant is "not installed".
class PackagedServiceSetup final : public HelperServiceSetup {
public:
    explicit PackagedServiceSetup(PackagedHelperLayout layout = {}) : layout(std::move(layout)) {}

    std::filesystem::path helperExecutable() const override { return layout.helperExecutable; }

    /// The grant.
    std::filesystem::path serviceDefinition() const override { return layout.grant; }

    bool isPackaged() const override { return true; }

    /// The grant alone.
    std::vector<std::filesystem::path> installedFiles() const override { return {layout.grant}; }

    /// For the user of this process.
    std::string serviceDefinitionContent() const override;
    bool isOwnDefinition(const std::string& content) const override;
    std::optional<uid_t> servedUser(const std::string& definition) const override;

    /// None: the helper writes the grant itself.
    std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const override;

    std::filesystem::path overrideJournal() const override { return HelperLocations::overrideJournal(); }

    /// @throws PrivilegedHelperInstallerError when systemd does not run the system.
    ShellCommand installCommand(const std::filesystem::path& source,
                                const std::filesystem::path& stagedDefinition) const override;

    /// @throws PrivilegedHelperInstallerError when the program has gone, and with it everything that could revoke.
    ShellCommand uninstallCommand() const override;

    /// See deferredRemoval().
    ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const override;

private:
    PackagedHelperLayout layout;
};

/// The setup for a program whose helper is `companion`: the packaged one for the packaged helper, and for every other
/// one SystemdServiceSetup.
std::shared_ptr<const HelperServiceSetup> helperServiceSetup(const std::optional<std::filesystem::path>& companion,
                                                             const PackagedHelperLayout& layout = {});

} // namespace tavo
