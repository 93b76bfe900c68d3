#include "TavoPrivilegedHelper/macos/ConsoleUser.h"

#include <SystemConfiguration/SystemConfiguration.h>

namespace tavo {

std::optional<uid_t> consoleUser() {
    uid_t user = 0;
    gid_t group = 0;
    const CFStringRef name = SCDynamicStoreCopyConsoleUser(nullptr, &user, &group);
    if (name == nullptr) {
        return std::nullopt;
    }
    CFRelease(name);
    return user;
}

} // namespace tavo
