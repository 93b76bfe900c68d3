#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tavo {

/// Where launchd's world has the helper and the property list that describes it.
struct PrivilegedHelperInstallLayout {
    std::filesystem::path helperExecutableURL;
    std::filesystem::path launchDaemonPlistURL;

    bool operator==(const PrivilegedHelperInstallLayout&) const = default;

    static const PrivilegedHelperInstallLayout& systemDefault();
};

/// The lines for root's shell that end launchd's job and remove both files, launchctl(1). Only the first may fail.
std::vector<std::string> uninstallCommandLines(const PrivilegedHelperInstallLayout& layout);

} // namespace tavo
