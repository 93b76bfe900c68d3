#include "TavoPrivilegedHelper/HelperOptions.h"
#include "TavoPrivilegedHelper/linux/HelperProgram.h"

#include <fmt/format.h>
#include <systemd/sd-daemon.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tavo {
namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 64; // EX_USAGE of sysexits.h

/// Goes to the journal, which knows who wrote it and when.
void log(const std::string& line) {
    fmt::print(stderr, "{}\n", line);
}

/// Whether the service was stopped on purpose: systemd.exec(5), "$SERVICE_RESULT". One that would not stop in time was.
bool wasStopped() {
    const char* const result = std::getenv("SERVICE_RESULT");
    const std::string_view text = result == nullptr ? "" : result;
    return text == "success" || text == "timeout";
}

int carryOut(const HelperOptions& options) {
    switch (options.task) {
    case HelperOptions::Task::printHelp:
        fmt::print("{}", HelperOptions::help());
        return EXIT_SUCCESS;
    case HelperOptions::Task::printVersion:
        fmt::print("TavoPrivilegedHelper {}\n", TAVO_VERSION);
        return EXIT_SUCCESS;
    case HelperOptions::Task::afterStop:
        HelperProgram(options.user, log).cleanUp(wasStopped());
        return EXIT_SUCCESS;
    case HelperOptions::Task::serve: {
        HelperProgram program(options.user, log);
        program.serve([] { sd_notify(0, "READY=1"); });
        return EXIT_SUCCESS;
    }
    }
    return failed;
}

int runProgram(std::span<const char* const> arguments) {
    try {
        return carryOut(HelperOptions::parse(arguments));
    } catch (const HelperUsageError& error) {
        log(error.description());
        return wrongUsage;
    } catch (const std::exception& error) {
        log(error.what());
        return failed;
    }
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    return tavo::runProgram({values + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
}
