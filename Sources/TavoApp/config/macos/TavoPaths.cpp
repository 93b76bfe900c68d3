#include "config/TavoPaths.h"

namespace tavo {

std::vector<std::filesystem::path> SystemUserDirectories::applicationSupportDirectories() const {
    const auto home = homeDirectory();
    return home.empty() ? std::vector<std::filesystem::path>{} : std::vector{home / "Library" / "Application Support"};
}

} // namespace tavo
