#include "system/ProgramLocation.h"

namespace tavo {

std::filesystem::path runningProgram(const char* calledAs) {
    std::error_code failure; // without /proc there is no such link
    const auto linked = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::filesystem::absolute(calledAs) : linked;
}

} // namespace tavo
