#include "app/Platform.h"
#include "login/LoginLaunchManagerError.h"

namespace tavo {

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
    return launchAtLogin->enable(*desktopApp);
}

} // namespace tavo
