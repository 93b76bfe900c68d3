#pragma once

#include "config/TavoPaths.h"
#include "helper/ClosedLidSupport.h"
#include "helper/HelperServiceSetup.h"
#include "helper/PrivilegedHelperClient.h"
#include "login/HeadlessLaunchManaging.h"
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

/// The engine's collaborators for one operating system.
struct Platform {
    std::shared_ptr<PowerEnvironmentProviding> powerEnvironment;

    /// Reports changes of the power supply; null where the system does not announce them.
    std::shared_ptr<PowerChangeNotifying> powerChanges;

    /// Without Tavo's own programs: they never count as a match.
    std::shared_ptr<ProcessSnapshotProviding> processes;

    /// Reports when processes exit; null where only the next snapshot shows it.
    std::shared_ptr<ProcessExitNotifying> processExits;

    /// Runs ordinary commands.
    std::shared_ptr<CommandRunning> commandRunner;

    /// Starts the assertion's child. start() returns when the assertion is held.
    std::shared_ptr<CommandRunning> assertionRunner;

    /// The same for a run next to the user's one Tavo: its child ends with this process, however that ends, and leaves
    /// nothing behind for a later one.
    std::shared_ptr<CommandRunning> tiedAssertionRunner;

    /// Ends the assertion that a killed Tavo left behind; empty where none can be left. Only for the user's one Tavo.
    std::function<void()> endOrphanedAssertion;

    /// The process that endOrphanedAssertion would end; empty where none can be left.
    std::function<std::optional<pid_t>()> orphanedAssertion;

    /// Lists what the assertion's child holds, and nothing once it has ended.
    std::shared_ptr<AssertionStatus> assertionStatus;

    /// Records what a running Tavo does; null where nothing is recorded, as in a command that only reports.
    std::shared_ptr<HistoryRecorder> history;

    /// The locks that the system itself lists.
    std::shared_ptr<HeldAssertionsProviding> heldAssertions;

    /// Whether this machine seems unable to be kept awake at all; empty where every system of its kind is able to.
    /// Takes no lock.
    std::function<bool()> seemsWithoutMeans;

    /// Keeps the timers of this process on time; null where the system does not throttle processes.
    std::shared_ptr<ProcessActivityStarting> processActivity;

    WakePlanBuilder wakePlanBuilder;

    /// Asks the privileged helper.
    std::shared_ptr<PrivilegedHelperClient> helperClient;

    /// How the helper is installed here.
    std::shared_ptr<const HelperServiceSetup> helperSetup;

    /// Runs commands that require privilege as root, with an administrator's approval.
    std::shared_ptr<CommandRunning> administratorRunner;

    /// Interrupts administratorRunner and sleeper when the program quits; null where nothing can wait.
    std::shared_ptr<Interruption> interruption;

    /// Finds the helper that belongs to this build; returns nothing if this build has none. Tavo may be updated or
    /// moved while it runs.
    std::function<std::optional<std::filesystem::path>()> findHelperSource;

    /// Sleeps between two polls of the helper; when empty, the calling thread sleeps.
    PrivilegedHelperInstaller::Sleeper sleeper;

    std::shared_ptr<LaunchAtLoginManaging> launchAtLogin;

    /// Starts a run without a desktop at each login; null where nothing could.
    std::shared_ptr<HeadlessLaunchManaging> headlessLaunch;

    /// The running program's file.
    std::filesystem::path programPath;

    /// The options for the app's start at login, see LoginOptionsFile; empty where none are kept.
    std::filesystem::path loginOptionsFile;

    /// Whether evaluations go on while their results cannot be written down, as on a full disk. Otherwise that is a failed
    /// evaluation like any other, which stops the loop until somebody does something.
    bool goesOnWithoutState = false;

    /// Whether the app itself reads that file when it starts, since launch at login passes no options.
    bool appReadsLoginOptions = false;

    /// The desktop app; absent when it does not come with this installation.
    std::optional<std::filesystem::path> desktopApp;

    /// The word for the machine in status texts.
    std::string machineNoun;

    /// The helper that belongs to this build, searched for anew.
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

    /// The work requirement of a desktop app that was started without options. @throws what LoginOptionsFile::read()
    /// throws.
    std::optional<WorkRequirement> requirementAtStart() const;

    /// Switches launch at login on or off, with the options in loginOptionsFile unless that is damaged. Returns the
    /// part that is left to do, see LaunchAtLoginManaging::enable().
    /// @throws LoginLaunchManagerError (missingDesktopApp when there is none), and what the manager throws.
    [[nodiscard]] LaunchAtLoginManaging::Remainder setLaunchAtLogin(bool enabled) const;
};

/// Prepares the environment that the children of this process inherit. Must be the first call in main(): no thread may
/// read the environment while it changes.
void prepareChildEnvironment();

/// A recorder for this process.
/// @param program    as the user calls it: "tavo", "tavoctl run".
/// @param onFailure  see HistoryRecorder.
/// @param isOnlyOne  whether this process is the user's one Tavo, and not a run next to it.
std::shared_ptr<HistoryRecorder> makeHistory(const TavoPaths& paths, const std::string& program,
                                             HistoryRecorder::FailureNotice onFailure, bool isOnlyOne = true);

/// The desktop app: the running program itself, or else the one installed with it.
std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath);

/// Tavo's own programs never count as a match.
std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes);

/// Makes waiting for an administrator and for the helper interruptible. @throws std::system_error
void makeInterruptible(Platform& platform);

/// Assembles the collaborators of the system that this program was built for: the one place that knows which system
/// that is.
/// @param programPath  the running program's file; the other programs are found relative to it.
/// @param paths        where Tavo keeps its files.
Platform makePlatform(const std::filesystem::path& programPath, const TavoPaths& paths);

} // namespace tavo
