#include "login/linux/AutostartLoginManager.h"

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "config/TavoPaths.h"

#include <fmt/format.h>

#include <algorithm>

namespace tavo {

namespace {

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

/// Trimmed of white space, which may stand around a key, its "=" and its value.
std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\f";
    const auto start = text.find_first_not_of(blanks);
    return start == std::string_view::npos ? std::string_view()
                                           : text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

/// One argument in quotes. A backslash inside them stands before what is special there, and is doubled because all of
/// it stands in a string.
std::string quotedArgument(std::string_view text) {
    std::string argument = "\"";
    for (const char character : text) {
        switch (character) {
        case '"':
        case '`':
        case '$':
            argument += "\\\\";
            argument += character;
            break;
        case '\\':
            argument += "\\\\\\\\";
            break;
        case '%':
            argument += "%%";
            break;
        default:
            argument += character;
        }
    }
    return argument + '"';
}

std::filesystem::path userAutostartFolder() {
    const auto folders = SystemUserDirectories().applicationSupportDirectories();
    if (folders.empty()) {
        throw CocoaPathsError::missingApplicationSupportDirectory();
    }
    return folders.front() / "autostart";
}

} // namespace

std::optional<std::string> desktopExecValue(const std::filesystem::path& program,
                                            const std::vector<std::string>& arguments) {
    const auto path = program.string();
    if (path.empty() || std::any_of(path.begin(), path.end(), isControl) || repairUTF8(path) != path) {
        return std::nullopt;
    }
    // The first word may hold no equals sign, and desktops look for its file before they make one percent sign of two.
    const bool needsAnotherFirstWord = path.find_first_of("%=") != std::string::npos;
    auto value = needsAnotherFirstWord ? "/bin/sh -c " + quotedArgument("exec \"$0\" \"$@\"") + " " : std::string();
    value += quotedArgument(path);
    for (const auto& argument : arguments) {
        value += " " + quotedArgument(argument);
    }
    return value;
}

std::optional<std::string> desktopEntryValue(std::string_view text, std::string_view key) {
    std::optional<std::string> value;
    bool isInGroup = false;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto content = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (content.starts_with('[')) {
            isInGroup = content == "[Desktop Entry]";
            continue;
        }
        const auto equals = content.find('=');
        if (isInGroup && equals != std::string_view::npos && trimmed(content.substr(0, equals)) == key) {
            value = trimmed(content.substr(equals + 1)); // the desktops' libraries obey the last
        }
    }
    return value;
}

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
