#include "app/Platform.h"

#include "helper/PrivilegedHelperConstants.h"
#include "login/LoginLaunchManagerError.h"
#include "system/OwnProgramFilter.h"
#include "system/ProgramLocation.h"
#include "system/SystemCommandRunner.h"

#include <unistd.h>

#ifdef __APPLE__
#include "helper/AdministratorCommandRunner.h"
#include "helper/LaunchDaemonSetup.h"
#include "helper/macos/XPCPrivilegedHelperClient.h"
#include "login/LoginLaunchManager.h"
#include "system/PMSetAssertionList.h"
#include "system/PSProcessSnapshotProvider.h"
#include "system/PowerSourceNotifications.h"
#include "system/SystemPowerEnvironment.h"
#else
#include "helper/linux/PolkitCommandRunner.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"
#include "helper/linux/SystemdServiceSetup.h"
#include "login/linux/AutostartLoginManager.h"
#include "runtime/linux/InhibitorCommandRunner.h"
#include "system/linux/KernelEvents.h"
#include "system/linux/LogindClient.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"
#include "system/linux/SysfsPowerEnvironment.h"
#endif

namespace tavo {

namespace {

#ifndef __APPLE__
constexpr const char* packagedPrograms = "../libexec/tavo";
#endif

constexpr std::string_view desktopAppName = "tavo";

/// The desktop app: the running program, or else what comes with it.
std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath) {
    if (programPath.filename() == desktopAppName) {
        return programPath;
    }
    return findCompanionProgram(programPath, desktopAppName, {"../MacOS", "../../bin"});
}

std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes) {
    return std::make_shared<OwnProgramFilter>(std::move(processes), getpid());
}

} // namespace

void Platform::setLaunchAtLogin(bool enabled) const {
    if (!enabled) {
        launchAtLogin->disable();
        return;
    }
    if (!desktopApp) {
        throw LoginLaunchManagerError::missingDesktopApp();
    }
    if (desktopApp->empty()) {
        throw LoginLaunchManagerError::missingExecutablePath();
    }
    launchAtLogin->enable(*desktopApp);
}

Platform makePlatform(const std::filesystem::path& programPath) {
    Platform platform;
    platform.commandRunner = std::make_shared<SystemCommandRunner>();
    platform.assertionBoard = std::make_shared<AssertionBoard>();
    platform.desktopApp = findDesktopApp(programPath);
#ifdef __APPLE__
    platform.powerEnvironment = std::make_shared<SystemPowerEnvironment>();
    platform.powerChanges = std::make_shared<PowerSourceNotifications>();
    platform.processes = withoutOwnPrograms(std::make_shared<PSProcessSnapshotProvider>(platform.commandRunner));
    platform.assertionRunner = platform.commandRunner;
    platform.heldAssertions = std::make_shared<PMSetAssertionList>(platform.commandRunner);
    platform.silentAssertionHolder = "caffeinate";
    platform.machineNoun = "mac";
    platform.launchAtLogin = std::make_shared<LoginLaunchManager>(platform.commandRunner);
    platform.helperClient =
        std::make_shared<XPCPrivilegedHelperClient>(std::string(PrivilegedHelperConstants::machServiceName));
    platform.helperSetup = std::make_shared<LaunchDaemonSetup>();
    platform.administratorRunner = std::make_shared<AdministratorCommandRunner>(platform.commandRunner);
    // Of a bundle's folders, seen from "MacOS" and from "Helpers".
    platform.helperSource = findCompanionProgram(programPath, PrivilegedHelperConstants::helperExecutableName,
                                                 {"../Helpers", "../MacOS", "../Resources"});
#else
    platform.powerEnvironment = std::make_shared<SysfsPowerEnvironment>();
    platform.powerChanges = std::make_shared<KernelPowerChanges>();
    platform.processes = withoutOwnPrograms(std::make_shared<ProcfsProcessSnapshotProvider>());
    platform.assertionRunner =
        std::make_shared<InhibitorCommandRunner>(platform.commandRunner, platform.assertionBoard);
    // Installed as a package, the programs that users do not call lie apart from those that they do.
    platform.wakePlanBuilder.assertionExecutable = findCompanionProgram(programPath, "tavo-inhibit", {packagedPrograms})
                                                       .value_or(programPath.parent_path() / "tavo-inhibit");
    platform.heldAssertions = std::make_shared<LogindLockList>();
    platform.machineNoun = "computer";
    platform.launchAtLogin = std::make_shared<AutostartLoginManager>();
    platform.helperClient = std::make_shared<SocketPrivilegedHelperClient>();
    platform.helperSetup = std::make_shared<SystemdServiceSetup>();
    platform.administratorRunner = std::make_shared<PolkitCommandRunner>(platform.commandRunner);
    platform.helperSource = findCompanionProgram(programPath, PrivilegedHelperConstants::helperExecutableName,
                                                 {packagedPrograms, "../Helpers"});
#endif
    return platform;
}

} // namespace tavo
