#include "system/ProcessStart.h"

#include "system/linux/ProcessDescriptor.h"
#include "system/linux/ProcfsText.h"

#include <fstream>
#include <iterator>
#include <string>

namespace tavo {

std::optional<std::uint64_t> processStart(pid_t pid) {
    return startTicksOf(pid);
}

bool isProcessStopped(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const auto stat = parseProcfsStat(text);
    return stat && (stat->state == 'T' || stat->state == 't');
}

} // namespace tavo
