#include "app/macos/MacPlatform.h"

#include "helper/PrivilegedHelperMessages.h"
#include "helper/macos/AdministratorCommandRunner.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "login/macos/HeadlessLaunchAgent.h"
#include "login/macos/LoginLaunchManager.h"
#include "runtime/macos/CaffeinateCommandRunner.h"
#include "runtime/macos/NotingCommandRunner.h"
#include "system/InterruptibleCommandRunner.h"
#include "system/ProcessStart.h"
#include "system/ProgramLocation.h"
#include "system/SystemCommandRunner.h"
#include "system/macos/ChildLocale.h"
#include "system/macos/PMSetAssertionList.h"
#include "system/macos/PSCommandLineCompleter.h"
#include "system/macos/PSProcessSnapshotProvider.h"
#include "system/macos/PowerSourceNotifications.h"
#include "system/macos/SystemPowerEnvironment.h"
#include "system/macos/TimeLimitedCommandRunner.h"

#include <unistd.h>

#include <chrono>
#include <utility>

namespace tavo {

namespace {

/// ps can hang on a process that the kernel has stuck, and the evaluation waits for it on the main thread.
constexpr std::chrono::seconds processTableTimeLimit{10};

std::shared_ptr<ProcessSnapshotProviding> makeProcessTable() {
    const auto runner = std::make_shared<TimeLimitedCommandRunner>(processTableTimeLimit);
    return std::make_shared<PSCommandLineCompleter>(std::make_shared<PSProcessSnapshotProvider>(runner), runner);
}

} // namespace

void prepareMacChildEnvironment() {
    // An app that launchd starts has no locale, and ps escapes what its locale cannot print: "Größe" becomes
    // "GrM-CM-6M-CM^_e", which nothing that the user types matches.
    useUTF8InChildren();
}

Platform makeMacPlatform(const std::filesystem::path& programPath, const TavoPaths& paths,
                         std::shared_ptr<PrivilegedHelperClient> helperClient) {
    Platform platform;
    platform.programPath = programPath;
    platform.loginOptionsFile = paths.rootDirectory / "login.conf";
    platform.appReadsLoginOptions = true;
    makeInterruptible(platform);
    platform.commandRunner = std::make_shared<SystemCommandRunner>();
    platform.assertionStatus = std::make_shared<AssertionStatus>();
    platform.desktopApp = findDesktopApp(programPath);
    platform.powerEnvironment = std::make_shared<SystemPowerEnvironment>();
    platform.powerChanges = std::make_shared<PowerSourceNotifications>();
    platform.processes = withoutOwnPrograms(makeProcessTable());
    platform.processExits = std::make_shared<ProcessExits>();
    const auto assertions = std::make_shared<NotingCommandRunner>(platform.commandRunner,
                                                                  paths.rootDirectory / "assertion.json", processStart);
    platform.assertionRunner = std::make_shared<CaffeinateCommandRunner>(assertions, platform.assertionStatus);
    platform.tiedAssertionRunner = std::make_shared<CaffeinateCommandRunner>(
        std::make_shared<TiedCaffeinateRunner>(platform.commandRunner, getpid()), platform.assertionStatus);
    platform.endOrphanedAssertion = [assertions] { assertions->endOrphan(); };
    platform.orphanedAssertion = [assertions] { return assertions->orphan(); };
    platform.heldAssertions = std::make_shared<PMSetAssertionList>(platform.commandRunner);
    platform.machineNoun = "mac";
    platform.launchAtLogin =
        std::make_shared<LoginLaunchManager>(TavoPaths::launchAgentURL(), platform.commandRunner, platform.sleeper);
    platform.headlessLaunch = std::make_shared<HeadlessLaunchAgent>(SystemUserDirectories().homeDirectory(),
                                                                    platform.commandRunner, platform.sleeper);
    platform.helperClient = std::move(helperClient);
    platform.helperSetup = std::make_shared<LaunchDaemonSetup>();
    platform.administratorRunner = std::make_shared<AdministratorCommandRunner>(
        std::make_shared<InterruptibleCommandRunner>(platform.interruption));
    // A bundle's folders, seen from "MacOS" and from "Helpers".
    platform.findHelperSource = [programPath] {
        return findProgram(programPath, PrivilegedHelperConstants::helperExecutableName,
                           {"../Helpers", "../MacOS", "../Resources", "."});
    };
    return platform;
}

} // namespace tavo
