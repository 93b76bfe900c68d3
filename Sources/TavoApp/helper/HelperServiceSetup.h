#pragma once

#include "config/TavoPaths.h"
#include "system/CommandRunning.h"
#include "system/LaunchdJob.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace tavo {

/// Makes the helper a system service, and removes it again. Each service manager has its own; installer and
/// self-resetter are the same everywhere.
struct HelperServiceSetup {
    virtual ~HelperServiceSetup() = default;

    /// Where the helper is installed.
    virtual std::filesystem::path helperExecutable() const = 0;

    /// The file that describes the service to its manager.
    virtual std::filesystem::path serviceDefinition() const = 0;

    /// The content of that file. @throws DescribedError when it cannot be expressed.
    virtual std::string serviceDefinitionContent() const = 0;

    /// Makes an empty folder of the caller's own for a copy of that file, which root's script reads there.
    /// @param paths  of the user who installs.
    /// @throws std::system_error
    virtual std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const = 0;

    /// Where the helper keeps its SleepOverrideJournal.
    virtual std::filesystem::path overrideJournal() const = 0;

    /// The script with which root's shell installs both files and starts the service.
    /// @param source            the helper to install; exists.
    /// @param stagedDefinition  a file with serviceDefinitionContent().
    /// @throws std::system_error when a file that the script is made from cannot be read.
    virtual std::string installScript(const std::filesystem::path& source,
                                      const std::filesystem::path& stagedDefinition) const = 0;

    /// Checks that the installed files are the intended ones; is told whether the installation has succeeded, and
    /// throws PrivilegedHelperInstallerError when they are not. Empty where the script checks that itself.
    using InstallationCheck = std::function<void(bool hasSucceeded)>;

    /// To be made before the user is asked for approval. @throws std::system_error when `source` cannot be read.
    virtual InstallationCheck installationCheck(const std::filesystem::path& source) const {
        (void)source;
        return {};
    }

    /// Whether an installation that has failed like this may succeed now. Where it failed because the manager was still
    /// ending the earlier service, this waits for the end of that first.
    virtual bool waitsForEarlierService(const ShellCommandResult& failure, CommandRunning& runner,
                                        const Sleeper& sleeper) const {
        (void)failure, (void)runner, (void)sleeper;
        return false;
    }

    /// The script with which root's shell ends the service and removes both files.
    virtual std::string uninstallScript() const = 0;

    /// The command with which the helper has itself removed `delaySeconds` later. It exits at once, and leaves a
    /// process behind that survives the end of the service.
    virtual ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const = 0;
};

} // namespace tavo
