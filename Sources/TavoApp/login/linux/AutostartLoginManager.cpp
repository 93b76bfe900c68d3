#include "login/linux/AutostartLoginManager.h"

#include "base/AtomicFile.h"
#include "config/TavoPaths.h"
#include "login/linux/DesktopEntry.h"

#include <fmt/format.h>

namespace tavo {

namespace {

std::filesystem::path userAutostartFolder() {
    const auto folders = SystemUserDirectories().applicationSupportDirectories();
    if (folders.empty()) {
        throw CocoaPathsError::missingApplicationSupportDirectory();
    }
    return folders.front() / "autostart";
}

} // namespace

std::filesystem::path AutostartLoginManager::entry() const {
    return (folder ? *folder : userAutostartFolder()) / "com.vrd.tavo.desktop";
}

LaunchAtLoginManaging::Remainder AutostartLoginManager::enable(const std::filesystem::path& executablePath,
                                                               const std::vector<std::string>& options) {
    // A login is no moment for a window to open; the tray may not even be there yet.
    std::vector<std::string> arguments{"--hidden"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const auto command = desktopExecValue(executablePath, arguments);
    if (!command) {
        throw LoginLaunchManagerError::unusablePath(executablePath.string());
    }
    ensureDirectoryExists(entry().parent_path());
    replaceFileAtomically(entry(), fmt::format("[Desktop Entry]\n"
                                               "Type=Application\n"
                                               "Name=Tavo\n"
                                               "Comment=Keeps this computer awake on your terms\n"
                                               "Exec={}\n"
                                               "Icon=com.vrd.tavo\n"
                                               "Terminal=false\n"
                                               "X-GNOME-Autostart-enabled=true\n",
                                               *command));
    return {};
}

void AutostartLoginManager::disable() {
    std::filesystem::remove(entry());
}

bool AutostartLoginManager::isEnabled() const {
    try {
        const auto text = readWholeFile(entry());
        return desktopEntryValue(text, "Hidden") != "true" &&
               desktopEntryValue(text, "X-GNOME-Autostart-enabled") != "false";
    } catch (const std::exception&) {
        // The desktop cannot read it either.
        return false;
    }
}

} // namespace tavo
