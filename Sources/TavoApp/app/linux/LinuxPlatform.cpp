#include "app/Platform.h"
#include "helper/PrivilegedHelperMessages.h"
#include "helper/linux/PackagedServiceSetup.h"
#include "helper/linux/PolkitCommandRunner.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"
#include "login/linux/AutostartLoginManager.h"
#include "login/linux/UserServiceManager.h"
#include "runtime/linux/InhibitorCommandRunner.h"
#include "system/InterruptibleCommandRunner.h"
#include "system/ProgramLocation.h"
#include "system/SystemCommandRunner.h"
#include "system/linux/KernelEvents.h"
#include "system/linux/LogindClient.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"
#include "system/linux/SysfsPowerEnvironment.h"

namespace tavo {

namespace {

constexpr const char* packagedPrograms = "../libexec/tavo";

} // namespace

void prepareChildEnvironment() {
    // No child's output depends on it here.
}

Platform makePlatform(const std::filesystem::path& programPath, const TavoPaths& paths) {
    Platform platform;
    platform.programPath = programPath;
    platform.loginOptionsFile = paths.rootDirectory / "login.conf";
    platform.commandRunner = std::make_shared<SystemCommandRunner>();
    platform.assertionStatus = std::make_shared<AssertionStatus>();
    platform.desktopApp = findDesktopApp(programPath);
    platform.powerEnvironment = std::make_shared<SysfsPowerEnvironment>();
    platform.powerChanges = std::make_shared<KernelPowerChanges>();
    platform.processes = withoutOwnPrograms(std::make_shared<ProcfsProcessSnapshotProvider>());
    platform.processExits = std::make_shared<ProcessExits>();
    platform.assertionRunner =
        std::make_shared<InhibitorCommandRunner>(platform.commandRunner, platform.assertionStatus);
    platform.tiedAssertionRunner = platform.assertionRunner;
    // A package installs programs that users do not call apart from those that they do.
    platform.wakePlanBuilder.assertionExecutable = findCompanionProgram(programPath, "tavo-inhibit", {packagedPrograms})
                                                       .value_or(programPath.parent_path() / "tavo-inhibit");
    platform.heldAssertions = std::make_shared<LogindLockList>();
    platform.seemsWithoutMeans = [] {
        try {
            return !LogindClient().isRunning();
        } catch (const BusError&) {
            return true;
        }
    };
    platform.machineNoun = "computer";
    platform.goesOnWithoutState = true;
    platform.launchAtLogin = std::make_shared<AutostartLoginManager>();
    platform.headlessLaunch = std::make_shared<UserServiceManager>(UserServiceLayout{}, platform.commandRunner);
    platform.helperClient = std::make_shared<SocketPrivilegedHelperClient>();
    makeInterruptible(platform);
    platform.administratorRunner =
        std::make_shared<PolkitCommandRunner>(std::make_shared<InterruptibleCommandRunner>(platform.interruption));
    platform.findHelperSource = [programPath] {
        return findProgram(programPath, PrivilegedHelperConstants::helperExecutableName,
                           {"../Helpers", packagedPrograms, "."});
    };
    platform.helperSetup = helperServiceSetup(platform.helperSource());
    return platform;
}

} // namespace tavo
