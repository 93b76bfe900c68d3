#pragma once

#include <string_view>

namespace tavo {

/// The names that the application, the helper and the system's service manager know the helper by.
struct PrivilegedHelperConstants {
    PrivilegedHelperConstants() = delete;

    static constexpr std::string_view helperExecutableName = "TavoPrivilegedHelper";
    static constexpr std::string_view launchDaemonPlistName = "com.vrd.tavo.helper.plist";
    static constexpr std::string_view machServiceName = "com.vrd.tavo.helper";
    static constexpr std::string_view launchDaemonLabel = machServiceName;
};

} // namespace tavo
