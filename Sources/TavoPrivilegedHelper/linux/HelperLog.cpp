#include "TavoPrivilegedHelper/HelperLog.h"

#include <cstdio>

namespace tavo {

void logHelper(const std::string& line) noexcept {
    // The service manager takes it from there. A log that nobody reads any more must not end the helper.
    std::fputs(line.c_str(), stderr);
    std::fputc('\n', stderr);
}

} // namespace tavo
