#include "TavoPrivilegedHelper/HelperOptions.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/MachineWideSleepController.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "TavoPrivilegedHelper/macos/ConsoleUser.h"
#include "TavoPrivilegedHelper/macos/DispatchHelperTimers.h"
#include "TavoPrivilegedHelper/macos/DispatchProcessWatching.h"
#include "TavoPrivilegedHelper/macos/DispatchSource.h"
#include "TavoPrivilegedHelper/macos/XPCHelperListener.h"
#include "helper/CommandBackedPrivilegedSleepController.h"
#include "helper/LaunchDaemonSetup.h"
#include "helper/PrivilegedHelperConstants.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "system/SystemCommandRunner.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace tavo {
namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 64; // EX_USAGE of sysexits.h

/// In seconds: longer than the reply takes, and shorter than the application waits for the files to go.
constexpr std::int64_t removalDelay = 1;

void log(const std::string& line) {
    fmt::print(stderr, "TavoPrivilegedHelper: {}\n", line);
}

[[noreturn]] void serve() {
    const auto runner = std::make_shared<SystemCommandRunner>();
    const auto setup = std::make_shared<LaunchDaemonSetup>();
    const auto processes = std::make_shared<DispatchProcessWatching>();
    const auto journal = setup->overrideJournal();
    std::filesystem::create_directories(journal.parent_path());
    chmod(journal.parent_path().c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH);

    const auto setting = std::make_shared<MachineWideSleepController>(
        std::make_shared<CommandBackedPrivilegedSleepController>(runner, true));
    const auto keeper = std::make_shared<OverrideKeeper>(
        setting, SleepOverrideJournal(journal),
        OverrideKeeper::Surroundings{
            .processes = processes,
            .timers = std::make_shared<DispatchHelperTimers>(),
            // The setting is one of the whole Mac: a moment without it counts whatever the lid.
            .isLidClosed = [] { return true; },
            .log = log});
    keeper->takeOver();

    signal(SIGTERM, SIG_IGN); // comes as an event
    const DispatchSource stop(DISPATCH_SOURCE_TYPE_SIGNAL, SIGTERM, 0, [keeper] {
        keeper->undoAll();
        std::exit(keeper->hasUnfinishedWork() ? failed : EXIT_SUCCESS);
    });

    const PrivilegedHelperSelfResetter resetter(runner, setup, removalDelay);
    const auto service = std::make_shared<HelperService>(
        keeper, [](uid_t user) { return consoleUser() == user; }, [&resetter] { resetter.requestReset(); });
    XPCHelperListener listener(std::string(PrivilegedHelperConstants::machServiceName), TAVO_CODE_SIGNING_REQUIREMENT,
                               service, processes);
    listener.resume();
    dispatch_main();
}

int runProgram(std::span<const char* const> arguments) {
    try {
        const auto options = HelperOptions::parse(arguments);
        switch (options.task) {
        case HelperOptions::Task::printHelp:
            fmt::print("{}", HelperOptions::help());
            return EXIT_SUCCESS;
        case HelperOptions::Task::printVersion:
            fmt::print("TavoPrivilegedHelper {}\n", TAVO_VERSION);
            return EXIT_SUCCESS;
        case HelperOptions::Task::afterStop:
            // The next start does it: launchd begins one at once.
            return EXIT_SUCCESS;
        case HelperOptions::Task::serve:
            serve();
        }
    } catch (const HelperUsageError& error) {
        log(error.description());
        return wrongUsage;
    } catch (const std::exception& error) {
        log(error.what());
    }
    return failed;
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    return tavo::runProgram({values + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
}
