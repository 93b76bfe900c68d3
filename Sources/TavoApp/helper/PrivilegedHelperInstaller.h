#pragma once

#include "base/DescribedError.h"
#include "base/RawValues.h"
#include "config/TavoPaths.h"
#include "helper/HelperServiceSetup.h"
#include "helper/PrivilegedHelperClient.h"
#include "system/CommandRunning.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// The helper's presence on this machine.
enum class PrivilegedHelperInstallState {
    notInstalled,         ///< one of its two files is missing
    installedUnreachable, ///< both are there, and it does not answer a ping with a pong
    ready,
};

template <>
struct RawValues<PrivilegedHelperInstallState> {
    static constexpr RawValueTable<PrivilegedHelperInstallState, 3> table{{
        {PrivilegedHelperInstallState::notInstalled, "notInstalled"},
        {PrivilegedHelperInstallState::installedUnreachable, "installedUnreachable"},
        {PrivilegedHelperInstallState::ready, "ready"},
    }};
};

constexpr bool isInstalled(PrivilegedHelperInstallState state) {
    return state != PrivilegedHelperInstallState::notInstalled;
}

/// The helper could not be installed or removed.
class PrivilegedHelperInstallerError final : public DescribedError {
public:
    enum class Kind { missingHelperExecutable, installFailed, uninstallFailed, helperNotReachable };

    static PrivilegedHelperInstallerError missingHelperExecutable(const std::string& path) {
        return {Kind::missingHelperExecutable, "could not find the privileged helper executable at " + path + "."};
    }
    static PrivilegedHelperInstallerError installFailed(const std::string& message) {
        return {Kind::installFailed, message};
    }
    /// installFailed, and something that is not the helper runs as root, or will.
    static PrivilegedHelperInstallerError foreignProgramInstalled(const std::string& message) {
        auto error = installFailed(message);
        error.isForeign = true;
        return error;
    }
    static PrivilegedHelperInstallerError uninstallFailed(const std::string& message) {
        return {Kind::uninstallFailed, message};
    }
    static PrivilegedHelperInstallerError helperNotReachable() {
        return {Kind::helperNotReachable, "installed the privileged helper, but tavo could not reach it."};
    }

    Kind kind() const { return errorKind; }

    /// Whether the installed files are not the helper's: its answers are not to be believed.
    bool foreignProgram() const { return isForeign; }

    bool operator==(const PrivilegedHelperInstallerError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    PrivilegedHelperInstallerError(Kind kind, const std::string& description)
        : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
    bool isForeign = false;
};

/// The wait of an installation for the helper's answer: this many pings, with the delay between two of them.
struct HelperReachabilityWait {
    /// None at all when 0. Negative is a programming error.
    std::int64_t retries = 50;
    std::uint32_t delayMicroseconds = 200000;

    bool operator==(const HelperReachabilityWait&) const = default;
};

/// Asks the helper when both of its files are there. Any failure to reach it is the state, not an error.
PrivilegedHelperInstallState resolveHelperInstallState(const HelperServiceSetup& setup, PrivilegedHelperClient& client);

/// Installs and removes the helper with the user's approval, and tells its state.
///
/// Keeps no state: the installed files and the system's service are the state. Every operation may block for long: the
/// approval waits for the user, and each ping may take 5 seconds.
class PrivilegedHelperInstaller {
public:
    using Sleeper = std::function<void(std::chrono::microseconds)>;

    /// @param runner   runs privileged commands as root, asking the user for approval where that is needed.
    /// @param sleeper  sleeps between two pings; the calling thread does by default.
    PrivilegedHelperInstaller(TavoPaths paths, std::shared_ptr<CommandRunning> runner,
                              std::shared_ptr<PrivilegedHelperClient> client,
                              std::shared_ptr<const HelperServiceSetup> setup,
                              HelperReachabilityWait reachabilityWait = {}, Sleeper sleeper = {});

    /// The same with the user's own paths. @throws CocoaPathsError
    PrivilegedHelperInstaller(std::shared_ptr<CommandRunning> runner, std::shared_ptr<PrivilegedHelperClient> client,
                              std::shared_ptr<const HelperServiceSetup> setup,
                              HelperReachabilityWait reachabilityWait = {}, Sleeper sleeper = {});

    /// See resolveHelperInstallState().
    PrivilegedHelperInstallState currentState() const;

    /// Installs, and waits until the helper answers. Leaves nothing behind in the user's folders once it has begun to
    /// run the command. When the system was still ending an earlier helper, the user is asked a second time. @throws
    /// PrivilegedHelperInstallerError, std::system_error, and what the setup throws.
    PrivilegedHelperInstallState install(const std::filesystem::path& helperExecutableSourceURL) const;

    /// Removes. @throws PrivilegedHelperInstallerError, and the runner's error.
    PrivilegedHelperInstallState uninstall() const;

    /// Pings until a pong comes. Gives false when none of the pings brought one.
    bool waitForReachability() const;

private:
    TavoPaths paths;
    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<PrivilegedHelperClient> client;
    std::shared_ptr<const HelperServiceSetup> setup;
    HelperReachabilityWait reachabilityWait;
    Sleeper sleeper;
};

/// Tells whether the installed helper is the one that belongs to the running program. Only such a helper is trusted to
/// remove itself on request.
class PrivilegedHelperCompatibilityChecker {
public:
    /// @param installedHelper  HelperServiceSetup::helperExecutable()
    explicit PrivilegedHelperCompatibilityChecker(std::filesystem::path installedHelper)
        : installedHelper(std::move(installedHelper)) {}

    /// Whether both files can be read and are equal byte for byte. False when there is no source.
    bool
    installedHelperMatchesCurrentBuild(const std::optional<std::filesystem::path>& sourceExecutableURL) const noexcept;

private:
    std::filesystem::path installedHelper;
};

} // namespace tavo
