#include "app/Platform.h"

#include "system/OwnProgramFilter.h"
#include "system/SystemCommandRunner.h"

#include <unistd.h>

#ifdef __APPLE__
#include "system/PMSetAssertionList.h"
#include "system/PSProcessSnapshotProvider.h"
#include "system/SystemPowerEnvironment.h"
#else
#include "runtime/linux/InhibitorCommandRunner.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"
#include "system/linux/SysfsPowerEnvironment.h"
#include "system/linux/LogindClient.h"
#endif

namespace tavo {

namespace {

#ifndef __APPLE__
/// Installed as a package, the program lies apart from those that users call.
std::filesystem::path findInhibitor(const std::filesystem::path& programPath) {
    const auto folder = programPath.parent_path();
    const auto beside = folder / "tavo-inhibit";
    const auto packaged = folder.parent_path() / "libexec" / "tavo" / "tavo-inhibit";
    std::error_code ignored; // what cannot be looked at cannot be run either
    return !std::filesystem::exists(beside, ignored) && std::filesystem::exists(packaged, ignored) ? packaged : beside;
}
#endif

std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes) {
    return std::make_shared<OwnProgramFilter>(std::move(processes), getpid());
}

} // namespace

Platform makePlatform([[maybe_unused]] const std::filesystem::path& programPath) {
    Platform platform;
    platform.commandRunner = std::make_shared<SystemCommandRunner>();
    platform.assertionBoard = std::make_shared<AssertionBoard>();
#ifdef __APPLE__
    platform.powerEnvironment = std::make_shared<SystemPowerEnvironment>();
    platform.processes = withoutOwnPrograms(std::make_shared<PSProcessSnapshotProvider>(platform.commandRunner));
    platform.assertionRunner = platform.commandRunner;
    platform.heldAssertions = std::make_shared<PMSetAssertionList>(platform.commandRunner);
    platform.silentAssertionHolder = "caffeinate";
    platform.machineNoun = "mac";
#else
    platform.powerEnvironment = std::make_shared<SysfsPowerEnvironment>();
    platform.processes = withoutOwnPrograms(std::make_shared<ProcfsProcessSnapshotProvider>());
    platform.assertionRunner =
        std::make_shared<InhibitorCommandRunner>(platform.commandRunner, platform.assertionBoard);
    platform.wakePlanBuilder.assertionExecutable = findInhibitor(programPath);
    platform.heldAssertions = std::make_shared<LogindLockList>();
    platform.machineNoun = "computer";
#endif
    return platform;
}

} // namespace tavo
