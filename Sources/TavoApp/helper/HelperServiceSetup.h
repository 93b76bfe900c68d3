#pragma once

#include "config/TavoPaths.h"
#include "system/CommandRunning.h"
#include "system/LaunchdJob.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Makes the helper a system service, and removes it again. Each service manager has its own; installer and
/// self-resetter are the same everywhere.
struct HelperServiceSetup {
    virtual ~HelperServiceSetup() = default;

    /// Where the helper is installed.
    virtual std::filesystem::path helperExecutable() const = 0;

    /// The file that describes the service to its manager, or that grants its use.
    virtual std::filesystem::path serviceDefinition() const = 0;

    /// Whether the system's package has brought the program and its service. Installing then grants their use to one
    /// user and removing revokes that, and the package's own files stay.
    virtual bool isPackaged() const { return false; }

    /// The files that an installation makes and a removal takes away.
    virtual std::vector<std::filesystem::path> installedFiles() const {
        return {helperExecutable(), serviceDefinition()};
    }

    /// The content of serviceDefinition(). @throws DescribedError when it cannot be expressed.
    virtual std::string serviceDefinitionContent() const = 0;

    /// Whether an installed service definition is one that this build installs, for whichever user.
    virtual bool isOwnDefinition(const std::string& content) const { return content == serviceDefinitionContent(); }

    /// The user whom an installed service definition has the helper serve beside root; nothing where it does not say.
    virtual std::optional<uid_t> servedUser(const std::string& definition) const {
        (void)definition;
        return std::nullopt;
    }

    /// Makes an empty folder of the caller's own for a copy of that file, from which root reads it. Gives an
    /// empty path where root needs no copy.
    /// @param paths  of the user who installs.
    /// @throws std::system_error
    virtual std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const = 0;

    /// Where the helper keeps its SleepOverrideJournal.
    virtual std::filesystem::path overrideJournal() const = 0;

    /// The command with which root installs both files and starts the service.
    /// @param source            the helper to install; exists.
    /// @param stagedDefinition  a file with serviceDefinitionContent(); empty without a staging folder.
    /// @throws std::system_error when a file that the command is made from cannot be read.
    virtual ShellCommand installCommand(const std::filesystem::path& source,
                                        const std::filesystem::path& stagedDefinition) const = 0;

    /// Checks that the installed files are the intended ones; is told whether the installation has succeeded, and
    /// throws PrivilegedHelperInstallerError when they are not. Empty where the command checks that itself.
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

    /// The command with which root ends the service and removes the installed files.
    virtual ShellCommand uninstallCommand() const = 0;

    /// The command with which the helper has itself removed `delaySeconds` later. It exits at once, and leaves a
    /// process behind that survives the end of the service.
    virtual ShellCommand deferredUninstallCommand(std::int64_t delaySeconds) const = 0;
};

/// A setup whose commands are scripts for root's shell.
struct ScriptServiceSetup : HelperServiceSetup {
    /// The script that installs. See installCommand().
    virtual std::string installScript(const std::filesystem::path& source,
                                      const std::filesystem::path& stagedDefinition) const = 0;

    /// The script that removes.
    virtual std::string uninstallScript() const = 0;

    ShellCommand installCommand(const std::filesystem::path& source,
                                const std::filesystem::path& stagedDefinition) const final {
        return asRoot(installScript(source, stagedDefinition));
    }

    ShellCommand uninstallCommand() const final { return asRoot(uninstallScript()); }

private:
    static ShellCommand asRoot(const std::string& script) {
        return {.executableURL = "/bin/sh", .arguments = {"-c", script}, .requiresPrivilege = true};
    }
};

} // namespace tavo
