#pragma once

#include "config/TavoPaths.h"
#include "helper/ClosedLidSupport.h"
#include "helper/HelperServiceSetup.h"
#include "helper/PrivilegedHelperClient.h"
#include "login/LaunchAtLoginManaging.h"
#include "runtime/AssertionStatus.h"
#include "runtime/HistoryRecorder.h"
#include "runtime/WakePlan.h"
#include "runtime/WorkRequirement.h"
#include "system/CommandRunning.h"
#include "system/HeldAssertionsProviding.h"
#include "system/InterruptibleCommandRunner.h"
#include "system/PowerEnvironmentProviding.h"
#include "system/ProcessActivity.h"
#include "system/ProcessExits.h"
#include "system/ProcessSnapshot.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// What the engine needs of this system.
struct Platform {
    std::shared_ptr<PowerEnvironmentProviding> powerEnvironment;

    /// Tells of changes of the power supply; null where the system tells nobody.
    std::shared_ptr<PowerChangeNotifying> powerChanges;

    /// Without Tavo's own programs: they never count as a match.
    std::shared_ptr<ProcessSnapshotProviding> processes;

    /// Tells when processes have ended; null where only the next look at them would show it.
    std::shared_ptr<ProcessExitNotifying> processExits;

    /// Runs ordinary commands.
    std::shared_ptr<CommandRunning> commandRunner;

    /// Starts the assertion's child. start() returns when the assertion is held.
    std::shared_ptr<CommandRunning> assertionRunner;

    /// The same for a run beside the one Tavo of the user: its child ends with this process, however that ends, and leaves nothing
    /// behind for a later one.
    std::shared_ptr<CommandRunning> tiedAssertionRunner;

    /// Ends what a killed Tavo has left running; empty where nothing of that kind is left. For the one Tavo of the user.
    std::function<void()> endOrphanedAssertion;

    /// The process that endOrphanedAssertion would end; empty where nothing of that kind is left.
    std::function<std::optional<pid_t>()> orphanedAssertion;

    /// Lists what the assertion's child holds, and nothing once it has ended.
    std::shared_ptr<AssertionStatus> assertionStatus;

    /// Writes down what a running Tavo does; null where nothing is to be written, as in a command that only looks.
    std::shared_ptr<HistoryRecorder> history;

    /// What the system itself says is held.
    std::shared_ptr<HeldAssertionsProviding> heldAssertions;

    /// Whether this system seems to have no means at all to stay awake; empty where every system of its kind has them. Takes no lock.
    std::function<bool()> seemsWithoutMeans;

    /// Keeps the timers of this process on time; null where the system slows nobody down.
    std::shared_ptr<ProcessActivityStarting> processActivity;

    WakePlanBuilder wakePlanBuilder;

    /// Asks the privileged helper.
    std::shared_ptr<PrivilegedHelperClient> helperClient;

    /// What the helper's installation is here.
    std::shared_ptr<const HelperServiceSetup> helperSetup;

    /// Runs as root what requires privilege, with an administrator's approval.
    std::shared_ptr<CommandRunning> administratorRunner;

    /// Calls off what administratorRunner and sleeper wait for, when the program quits; null where nothing can wait.
    std::shared_ptr<Interruption> interruption;

    /// Looks for the helper that belongs to this build; gives nothing when it does not come with it. Tavo may be updated or
    /// moved while it runs.
    std::function<std::optional<std::filesystem::path>()> findHelperSource;

    /// Sleeps between two looks at the helper; the calling thread does when it is empty.
    PrivilegedHelperInstaller::Sleeper sleeper;

    std::shared_ptr<LaunchAtLoginManaging> launchAtLogin;

    /// The options kept for the app's start at login, see LoginOptionsFile; empty where nothing is.
    std::filesystem::path loginOptionsFile;

    /// Whether the app itself looks there when it starts, since launch at login passes nothing on.
    bool appReadsLoginOptions = false;

    /// The desktop app; absent when it does not come with this installation.
    std::optional<std::filesystem::path> desktopApp;

    /// What the machine is called in status texts.
    std::string machineNoun;

    /// The helper that belongs to this build, looked for now.
    std::optional<std::filesystem::path> helperSource() const {
        return findHelperSource ? findHelperSource() : std::nullopt;
    }

    /// With the helper's source as it is now.
    ClosedLidSupport closedLidSupport() const {
        return ClosedLidSupport({.client = helperClient,
                                 .setup = helperSetup,
                                 .administratorRunner = administratorRunner,
                                 .source = helperSource(),
                                 .sleeper = sleeper});
    }

    /// For the desktop app to stay awake only while the matched programs work: what it is to obey without having been given any
    /// options. @throws what LoginOptionsFile::read() throws.
    std::optional<WorkRequirement> requirementAtStart() const;

    /// Has the desktop app started at login, or no longer. What is kept for that is obeyed unless it is damaged. Gives what is left to do, see LaunchAtLoginManaging::enable().
    /// @throws LoginLaunchManagerError (missingDesktopApp when there is none), and what the manager throws.
    [[nodiscard]] LaunchAtLoginManaging::Remainder setLaunchAtLogin(bool enabled) const;
};

/// Prepares the environment that the children of this process inherit. The first thing that main() does: no thread may read
/// the environment while it changes.
void prepareChildEnvironment();

/// A recorder for this process.
/// @param program    as the user calls it: "tavo", "tavoctl run".
/// @param onFailure  see HistoryRecorder.
/// @param isOnlyOne  whether this process is the one Tavo of its user, and not a run beside it.
std::shared_ptr<HistoryRecorder> makeHistory(const TavoPaths& paths, const std::string& program,
                                             HistoryRecorder::FailureNotice onFailure, bool isOnlyOne = true);

/// The desktop app: the running program, or else what comes with it.
std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath);

/// Tavo's own programs never count as a match.
std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes);

/// Gives the platform what calls off its waiting for an administrator and for the helper. @throws std::system_error
void makeInterruptible(Platform& platform);

/// Assembles the collaborators of the system that this program was built for: the one place that knows which it is.
/// @param programPath  the running program's file, beside which the others lie.
/// @param paths        where Tavo keeps its files.
Platform makePlatform(const std::filesystem::path& programPath, const TavoPaths& paths);

} // namespace tavo
