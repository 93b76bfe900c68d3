#pragma once

#include "config/TavoPaths.h"
#include "system/CommandRunning.h"
#include "system/LaunchdJob.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace tavo {

/// How the helper becomes a service of the system's, and ceases to be one. Each service manager has its own; what installer
/// and self-resetter do around it is the same everywhere.
struct HelperServiceSetup {
    virtual ~HelperServiceSetup() = default;

    /// Where the helper is installed.
    virtual std::filesystem::path helperExecutable() const = 0;

    /// Where the file lies that describes the service to its manager.
    virtual std::filesystem::path serviceDefinition() const = 0;

    /// What that file holds. @throws DescribedError when it cannot be written down.
    virtual std::string serviceDefinitionContent() const = 0;

    /// Makes an empty folder of the caller's own for a copy of that file, from where root's script takes it.
    /// @param paths  of the user who installs.
    /// @throws std::system_error
    virtual std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const = 0;

    /// Where the helper keeps its SleepOverrideJournal.
    virtual std::filesystem::path overrideJournal() const = 0;

    /// What root's shell runs to install both files and to start the service.
    /// @param source            the helper to install; exists.
    /// @param stagedDefinition  a file with serviceDefinitionContent().
    /// @throws std::system_error when a file cannot be read that the script is made from.
    virtual std::string installScript(const std::filesystem::path& source,
                                      const std::filesystem::path& stagedDefinition) const = 0;

    /// Tells whether what lies installed is what was meant; gets whether the installation has succeeded, and throws
    /// PrivilegedHelperInstallerError when it is something else. Empty where the script sees to that itself.
    using InstallationCheck = std::function<void(bool hasSucceeded)>;

    /// To be made before the user is asked for approval. @throws std::system_error when `source` cannot be read.
    virtual InstallationCheck installationCheck(const std::filesystem::path& source) const {
        (void)source;
        return {};
    }

    /// Whether an installation that has failed like this may succeed now. Where it failed because the manager was still ending
    /// the earlier service, this waits for the end of that first.
    virtual bool waitsForEarlierService(const ShellCommandResult& failure, CommandRunning& runner,
                                        const Sleeper& sleeper) const {
        (void)failure, (void)runner, (void)sleeper;
        return false;
    }

    /// What root's shell runs to end the service and to remove both files.
    virtual std::string uninstallScript() const = 0;

    /// What the helper itself runs to be removed `delaySeconds` later. The command ends at once, and what it leaves behind
    /// survives the end of the service.
    virtual ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const = 0;
};

} // namespace tavo
