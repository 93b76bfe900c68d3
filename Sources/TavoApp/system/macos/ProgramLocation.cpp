#include "system/ProgramLocation.h"

#include <mach-o/dyld.h>

#include <string>

namespace tavo {

std::filesystem::path runningProgram(const char* calledAs) {
    // dyld(3): the first call gives the length of the path.
    std::uint32_t length = 0;
    _NSGetExecutablePath(nullptr, &length);
    std::string path(length, '\0');
    if (_NSGetExecutablePath(path.data(), &length) != 0) {
        return std::filesystem::absolute(calledAs);
    }
    std::error_code failure; // what is linked to lies elsewhere than its companions
    const auto real = std::filesystem::canonical(path.c_str(), failure);
    return failure ? std::filesystem::path(path.c_str()) : real;
}

} // namespace tavo
