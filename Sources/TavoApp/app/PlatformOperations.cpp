#include "app/Platform.h"
#include "login/LoginLaunchManagerError.h"

namespace tavo {

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

} // namespace tavo
