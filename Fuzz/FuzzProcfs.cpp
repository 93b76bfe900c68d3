#include "Require.h"
#include "base/Text.h"
#include "system/linux/ProcfsText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavo {
namespace {

void checkStat(std::string_view text) {
    const auto stat = parseProcfsStat(text);
    if (!stat) {
        return;
    }
    require(stat->pid > 0, "a process id is positive");
    require(!stat->hasEnded() || stat->state == 'Z' || stat->state == 'X', "what runs or sleeps has not ended");
    require(stat->name.data() >= text.data() && stat->name.data() + stat->name.size() <= text.data() + text.size(),
            "the name is part of the text");
    const auto again = std::to_string(stat->pid) + " (" + std::string(stat->name) + ") " + stat->state + " " +
                       std::to_string(stat->parentPID) + " 0 0 0 0 0 0 0 0 0 " + std::to_string(stat->userTicks) + " " +
                       std::to_string(stat->systemTicks) + " 0 0 20 0 " + std::to_string(stat->threadCount) + " 0";
    require(parseProcfsStat(again) == stat, "what was read can be written and read again");
}

void checkTexts(std::string_view name, std::string_view cmdline) {
    std::string commandLineBuffer;
    const auto commandLine = procfsCommandLine(cmdline, commandLineBuffer);
    require(repairUTF8(commandLine) == commandLine, "a command line is valid");
    require(commandLine.find('\0') == std::string_view::npos, "a command line has no NUL");
    require(trimWhitespace(commandLine) == commandLine, "a command line is trimmed");

    std::string nameBuffer;
    const auto executable = procfsExecutableName(name, cmdline, nameBuffer);
    require(repairUTF8(executable) == executable, "a name is valid");
    require(trimWhitespace(executable) == executable, "a name is trimmed");
    const auto repaired = repairUTF8(name);
    const auto whole = trimWhitespace(repaired);
    const bool isAscii = std::all_of(name.begin(), name.end(), [](char unit) { return (unit & 0x80) == 0; });
    if (isAscii) {
        require(executable.starts_with(whole), "a name is completed and never replaced");
    }
    require(executable == whole || name.size() == 15, "only a name that may be cut is completed");
}

} // namespace
} // namespace tavo

/// The input is a stat text, and after the first record separator (0x1E) the arguments.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto separator = std::min(bytes.find('\x1E'), bytes.size());
    const auto stat = bytes.substr(0, separator);
    const auto cmdline = bytes.substr(std::min(separator + 1, bytes.size()));
    tavo::checkStat(stat);
    const auto parsed = tavo::parseProcfsStat(stat);
    tavo::checkTexts(parsed ? parsed->name : stat.substr(0, 15), cmdline);
    return 0;
}
