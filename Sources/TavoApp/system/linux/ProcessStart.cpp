#include "system/ProcessStart.h"

#include "system/linux/ProcfsText.h"

#include <fstream>
#include <iterator>
#include <string>

namespace tavo {

namespace {

std::string statText(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

std::optional<std::uint64_t> processStart(pid_t pid) {
    const auto text = statText(pid);
    const auto stat = parseProcfsStat(text);
    // One that nobody has reaped has ended all the same.
    return !stat || stat->hasEnded() ? std::nullopt : procfsStartTicks(text);
}

bool isProcessStopped(pid_t pid) {
    const auto text = statText(pid);
    const auto stat = parseProcfsStat(text);
    return stat && (stat->state == 'T' || stat->state == 't');
}

} // namespace tavo
