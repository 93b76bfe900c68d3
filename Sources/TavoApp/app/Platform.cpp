#include "app/Platform.h"

#include "app/LoginOptionsFile.h"
#include "login/LaunchAtLoginManaging.h"
#include "system/OwnProgramFilter.h"
#include "system/ProcessStart.h"
#include "system/ProgramLocation.h"
#include "system/SuspendedTime.h"

#include <unistd.h>

namespace tavo {

namespace {

constexpr std::string_view desktopAppName = "tavo";

std::vector<std::string> keptOptions(const std::filesystem::path& file) {
    try {
        const auto requirement = file.empty() ? std::nullopt : LoginOptionsFile(file).read();
        return requirement ? requirement->arguments() : std::vector<std::string>();
    } catch (const std::exception&) {
        // Launch at login matters more than its options.
        return {};
    }
}

} // namespace

std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath) {
    if (programPath.filename() == desktopAppName) {
        return programPath;
    }
    return findCompanionProgram(programPath, desktopAppName, {"../MacOS", "../../bin"});
}

std::shared_ptr<HistoryRecorder> makeHistory(const TavoPaths& paths, const std::string& program,
                                             HistoryRecorder::FailureNotice onFailure, bool isOnlyOne) {
    const HistoryWriter writer{.program = program,
                               .processID = getpid(),
                               .startTime = processStart(getpid()).value_or(0),
                               .isOnlyOne = isOnlyOne};
    return std::make_shared<HistoryRecorder>(HistoryFile(paths.historyURL()), writer, suspendedTime,
                                             std::move(onFailure));
}

void makeInterruptible(Platform& platform) {
    platform.interruption = std::make_shared<Interruption>();
    platform.sleeper = [interruption = platform.interruption](std::chrono::microseconds time) {
        interruption->sleep(time);
    };
}

std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes) {
    return std::make_shared<OwnProgramFilter>(std::move(processes), getpid());
}

std::optional<WorkRequirement> Platform::requirementAtStart() const {
    if (!appReadsLoginOptions || loginOptionsFile.empty() || !launchAtLogin->isEnabled()) {
        return std::nullopt;
    }
    return LoginOptionsFile(loginOptionsFile).read();
}

LaunchAtLoginManaging::Remainder Platform::setLaunchAtLogin(bool enabled) const {
    if (!enabled) {
        launchAtLogin->disable();
        return {};
    }
    if (!desktopApp) {
        throw LoginLaunchManagerError::missingDesktopApp();
    }
    if (desktopApp->empty()) {
        throw LoginLaunchManagerError::missingExecutablePath();
    }
    return launchAtLogin->enable(*desktopApp, keptOptions(loginOptionsFile));
}

} // namespace tavo
