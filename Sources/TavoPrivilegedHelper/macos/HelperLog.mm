#include "TavoPrivilegedHelper/HelperLog.h"

#include "helper/PrivilegedHelperMessages.h"

#include <os/log.h>

#include <cstdio>

namespace tavo {

void logHelper(const std::string& line) noexcept {
    // launchd sends a daemon's output nowhere. The text is public: it names processes, never anything that users write.
    static const os_log_t log =
        os_log_create(std::string(PrivilegedHelperConstants::launchDaemonLabel).c_str(), "helper");
    os_log_with_type(log, OS_LOG_TYPE_DEFAULT, "%{public}s", line.c_str());
    std::fputs(line.c_str(), stderr);
    std::fputc('\n', stderr);
}

} // namespace tavo
