#include "TavoPrivilegedHelper/HelperLog.h"

#include <cstdio>

namespace tavo {

void logHelper(const std::string& line) noexcept {
    // The service manager takes it from there. A log that nobody takes any more must not end what keeps a lid covered.
    std::fputs(line.c_str(), stderr);
    std::fputc('\n', stderr);
}

} // namespace tavo
