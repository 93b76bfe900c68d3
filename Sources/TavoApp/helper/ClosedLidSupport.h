#pragma once

#include "config/TavoPaths.h"
#include "helper/HelperServiceSetup.h"
#include "helper/PrivilegedHelperClient.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "system/CommandRunning.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace tavo {

/// The helper as its user sees it: installed or not, this build's or another's, and how to change that.
///
/// A value that can be copied into a background thread: everything but the two questions about files may block for
/// long.
class ClosedLidSupport {
public:
    struct Parts {
        std::shared_ptr<PrivilegedHelperClient> client;
        std::shared_ptr<const HelperServiceSetup> setup;

        /// Runs privileged commands as root, asking the user for approval where that is needed.
        std::shared_ptr<CommandRunning> administratorRunner;

        /// The helper that belongs to this build; absent when it does not come with it.
        std::optional<std::filesystem::path> source;

        /// Sleeps between two attempts; the calling thread does by default.
        PrivilegedHelperInstaller::Sleeper sleeper = {};
    };

    explicit ClosedLidSupport(Parts parts);

    /// See resolveHelperInstallState().
    PrivilegedHelperInstallState state() const;

    /// Whether any of the installed files is there.
    bool hasFiles() const;

    /// Whether the installed helper is the one that belongs to this build.
    bool matchesThisBuild() const;

    /// Polls the state until it is the wanted one, as often as `wait` says, and gives the last one seen.
    PrivilegedHelperInstallState waitForState(PrivilegedHelperInstallState wanted, HelperReachabilityWait wait) const;

    /// @throws PrivilegedHelperInstallerError (missingHelperExecutable without a source), and see
    ///         PrivilegedHelperInstaller::install().
    PrivilegedHelperInstallState install(const TavoPaths& paths) const;

    /// See PrivilegedHelperInstaller::uninstall().
    PrivilegedHelperInstallState uninstall(const TavoPaths& paths) const;

    /// Has the helper remove itself, and waits for its files to go: 2.5 seconds at most. Says whether they have gone.
    /// @throws PrivilegedHelperInstallerError with the helper's own words, and the client's errors.
    bool reset() const;

private:
    PrivilegedHelperInstaller installer(const TavoPaths& paths) const;

    Parts parts;
};

} // namespace tavo
