#include "config/TavoPaths.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace tavo {

std::filesystem::path SystemUserDirectories::homeDirectory() const {
    if (const char* home = std::getenv("HOME"); obeysEnvironment() && home != nullptr && home[0] == '/') {
        return home;
    }
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr) {
        return found->pw_dir;
    }
    return {};
}

TavoPaths TavoPaths::defaultPaths(const UserDirectoriesProviding& directories) {
    const auto candidates = directories.applicationSupportDirectories();
    if (candidates.empty()) {
        throw CocoaPathsError::missingApplicationSupportDirectory();
    }
    return {candidates.front() / "Tavo"};
}

std::filesystem::path TavoPaths::launchAgentURL(const UserDirectoriesProviding& directories) {
    return directories.homeDirectory() / "Library" / "LaunchAgents" / "com.vrd.tavo.plist";
}

} // namespace tavo
