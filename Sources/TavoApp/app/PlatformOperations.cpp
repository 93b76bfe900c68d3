#include "app/LoginOptionsFile.h"
#include "app/Platform.h"
#include "login/LoginLaunchManagerError.h"

namespace tavo {

namespace {

std::vector<std::string> keptOptions(const std::filesystem::path& file) {
    try {
        const auto requirement = file.empty() ? std::nullopt : LoginOptionsFile(file).read();
        return requirement ? requirement->arguments() : std::vector<std::string>();
    } catch (const std::exception&) {
        // Launch at login matters more than how.
        return {};
    }
}

} // namespace

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
