#pragma once

#include "helper/HelperServiceSetup.h"
#include "system/macos/PropertyList.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tavo {

/// Where macOS has the helper and the property list that describes it to launchd.
struct PrivilegedHelperInstallLayout {
    std::filesystem::path helperExecutableURL;
    std::filesystem::path launchDaemonPlistURL;

    bool operator==(const PrivilegedHelperInstallLayout&) const = default;

    static const PrivilegedHelperInstallLayout& systemDefault();
};

/// The lines with which root's shell ends launchd's job and removes both files, launchctl(1). Only the first may fail.
std::vector<std::string> uninstallCommandLines(const PrivilegedHelperInstallLayout& layout);

/// The helper as launchd knows it.
struct PrivilegedHelperLaunchDaemonDefinition {
    std::string label;
    std::string machServiceName;
    std::string executablePath;

    bool operator==(const PrivilegedHelperLaunchDaemonDefinition&) const = default;

    /// Keys of launchd.plist(5). launchd starts the helper with the system and whenever it has ended.
    PropertyListValue propertyList() const;
};

/// The helper as a system daemon of launchd.
class LaunchDaemonSetup final : public ScriptServiceSetup {
public:
    explicit LaunchDaemonSetup(PrivilegedHelperInstallLayout layout = PrivilegedHelperInstallLayout::systemDefault())
        : layout(std::move(layout)) {}

    std::filesystem::path helperExecutable() const override { return layout.helperExecutableURL; }
    std::filesystem::path serviceDefinition() const override { return layout.launchDaemonPlistURL; }

    /// In root's own folder, which outlives a restart of the machine as the setting itself does.
    std::filesystem::path overrideJournal() const override { return "/var/db/com.vrd.tavo.helper/overrides.json"; }

    /// A property list in the XML format. @throws PropertyListError when XML cannot carry a path.
    std::string serviceDefinitionContent() const override;

    /// "helper-installer" in the folder of the configuration.
    std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const override;

    /// Ten lines without a newline at the end. The first two calls of launchctl may fail, any other line ends the
    /// script.
    std::string installScript(const std::filesystem::path& source,
                              const std::filesystem::path& stagedDefinition) const override;

    /// The installed files are compared with the bytes of this moment: the script reads its sources after the user has
    /// been asked, and root has no digest to compare them with.
    InstallationCheck installationCheck(const std::filesystem::path& source) const override;

    /// When launchd refused to load the new job, once it has forgotten the earlier one, or 10 seconds later.
    bool waitsForEarlierService(const ShellCommandResult& failure, CommandRunning& runner,
                                const Sleeper& sleeper) const override;

    std::string uninstallScript() const override;

    /// A shell that leaves the removal to a shell in the background, which sleeps first. It leads a process group of
    /// its own, since launchd ends the group of a job that it boots out.
    ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const override;

private:
    std::string deferredUninstallScript(std::int64_t delaySeconds) const;

    PrivilegedHelperInstallLayout layout;
};

} // namespace tavo
