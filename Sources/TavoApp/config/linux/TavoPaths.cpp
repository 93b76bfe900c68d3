#include "config/TavoPaths.h"

#include <cstdlib>

namespace tavo {

std::vector<std::filesystem::path> SystemUserDirectories::applicationSupportDirectories() const {
    // A relative path in the variable is to be ignored, say the rules for the XDG base directories.
    if (const char* configHome = std::getenv("XDG_CONFIG_HOME");
        obeysEnvironment() && configHome != nullptr && configHome[0] == '/') {
        return {configHome};
    }
    const auto home = homeDirectory();
    return home.empty() ? std::vector<std::filesystem::path>{} : std::vector{home / ".config"};
}

} // namespace tavo
