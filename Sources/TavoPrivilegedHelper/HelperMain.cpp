#include "TavoPrivilegedHelper/HelperMain.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>

namespace tavo {

namespace {

constexpr int wrongUsage = 64; // EX_USAGE of sysexits.h

} // namespace

int runHelper(std::span<const char* const> arguments, const std::function<void(const HelperOptions&)>& serve,
              const std::function<void(const HelperOptions&)>& afterStop) {
    try {
        const auto options = HelperOptions::parse(arguments);
        switch (options.task) {
        case HelperOptions::Task::printHelp:
            fmt::print("{}", HelperOptions::help());
            break;
        case HelperOptions::Task::printVersion:
            fmt::print("TavoPrivilegedHelper {}\n", TAVO_VERSION);
            break;
        case HelperOptions::Task::afterStop:
            afterStop(options);
            break;
        case HelperOptions::Task::serve:
            serve(options);
            break;
        }
        return EXIT_SUCCESS;
    } catch (const HelperUsageError& error) {
        logHelper(error.description());
        return wrongUsage;
    } catch (const std::exception& error) {
        logHelper(error.what());
        return EXIT_FAILURE;
    }
}

} // namespace tavo
