#include "app/ProgramsOfPlatform.h"

#include "system/OwnProgramFilter.h"
#include "system/ProgramLocation.h"

#include <unistd.h>

namespace tavo {

namespace {

constexpr std::string_view desktopAppName = "tavo";

} // namespace

std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath) {
    if (programPath.filename() == desktopAppName) {
        return programPath;
    }
    return findCompanionProgram(programPath, desktopAppName, {"../MacOS", "../../bin"});
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

} // namespace tavo
