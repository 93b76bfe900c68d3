#pragma once

#include "config/TavoPaths.h"
#include "helper/HelperServiceSetup.h"
#include "helper/PrivilegedHelperClient.h"
#include "helper/PrivilegedHelperInstallState.h"
#include "helper/PrivilegedHelperInstallerError.h"
#include "system/CommandRunning.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace tavo {

/// How long an installation waits for the helper to answer: this many pings, with the delay between two of them.
struct HelperReachabilityWait {
    /// None at all when 0. Negative is a programming error.
    std::int64_t retries = 50;
    std::uint32_t delayMicroseconds = 200000;

    bool operator==(const HelperReachabilityWait&) const = default;
};

/// Asks the helper when both of its files are there. Any failure to reach it is the state, not an error.
PrivilegedHelperInstallState resolveHelperInstallState(const HelperServiceSetup& setup, PrivilegedHelperClient& client);

/// Installs and removes the helper with the user's approval, and tells what there is of it.
///
/// Keeps no state: the installed files and the system's service are the state. Every operation may block for long: the
/// approval waits for the user, and each ping may take 5 seconds.
class PrivilegedHelperInstaller {
public:
    using Sleeper = std::function<void(std::chrono::microseconds)>;

    /// @param runner   runs as root what requires privilege, asking the user where that needs asking.
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

    /// Installs, and waits until the helper answers. Leaves nothing behind in the user's folders once it has begun to run
    /// the script. When the system was still ending an earlier helper, the user is asked a second time. @throws PrivilegedHelperInstallerError, std::system_error, and what the setup throws.
    PrivilegedHelperInstallState install(const std::filesystem::path& helperExecutableSourceURL) const;

    /// Removes. @throws PrivilegedHelperInstallerError, and the runner's error.
    PrivilegedHelperInstallState uninstall() const;

    /// Pings until a pong comes. Gives false when none of the pings brought one.
    bool waitForReachability() const;

private:
    /// @param prompt  why the user is asked; the system's own words when empty.
    ShellCommandResult runAsRoot(const std::string& script, const std::string& prompt = {}) const;

    TavoPaths paths;
    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<PrivilegedHelperClient> client;
    std::shared_ptr<const HelperServiceSetup> setup;
    HelperReachabilityWait reachabilityWait;
    Sleeper sleeper;
};

} // namespace tavo
