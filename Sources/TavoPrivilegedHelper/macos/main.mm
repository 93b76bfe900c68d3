#include "CodeSigningRequirement.h"
#include "TavoPrivilegedHelper/HelperLog.h"
#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "TavoPrivilegedHelper/macos/ConsoleUser.h"
#include "TavoPrivilegedHelper/macos/DispatchHelperTimers.h"
#include "TavoPrivilegedHelper/macos/DispatchProcessWatching.h"
#include "TavoPrivilegedHelper/macos/DispatchSource.h"
#include "TavoPrivilegedHelper/macos/PMSetSleepSetting.h"
#include "TavoPrivilegedHelper/macos/XPCHelperListener.h"
#include "helper/PrivilegedHelperMessages.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "helper/macos/CommandBackedPrivilegedSleepController.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "system/SystemCommandRunner.h"

#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

namespace tavo {
namespace {

[[noreturn]] void serve() {
    const auto runner = std::make_shared<SystemCommandRunner>();
    const auto setup = std::make_shared<LaunchDaemonSetup>();
    const auto processes = std::make_shared<DispatchProcessWatching>();
    const auto journal = setup->overrideJournal();
    std::filesystem::create_directories(journal.parent_path());
    chmod(journal.parent_path().c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH);

    const auto setting =
        std::make_shared<PMSetSleepSetting>(std::make_shared<CommandBackedPrivilegedSleepController>(runner, true));
    const auto keeper = std::make_shared<OverrideKeeper>(
        setting, SleepOverrideJournal(journal),
        OverrideKeeper::Surroundings{
            .processes = processes,
            .timers = std::make_shared<DispatchHelperTimers>(),
            // The setting holds for the whole Mac: a moment without it counts whatever the lid.
            .isLidClosed = [] { return true; },
            .log = logHelper});
    keeper->takeOver();

    signal(SIGTERM, SIG_IGN); // comes as an event
    const DispatchSource stop(DISPATCH_SOURCE_TYPE_SIGNAL, SIGTERM, 0, [keeper] {
        keeper->endAll();
        std::exit(keeper->hasUnfinishedWork() ? EXIT_FAILURE : EXIT_SUCCESS);
    });

    const PrivilegedHelperSelfResetter resetter(runner, setup, helperRemovalDelay);
    SingleRemoval removal([&resetter] { resetter.requestReset(); });
    const auto service = std::make_shared<HelperService>(
        keeper,
        [](uid_t user) { return consoleUser() == user ? std::nullopt : std::optional(HelperService::notServed(user)); },
        [&removal] { removal.request(); }, logHelper);
    XPCHelperListener listener(std::string(PrivilegedHelperConstants::machServiceName),
                               std::string(codeSigningRequirement), HelperAdmission::make(service, processes));
    listener.resume();
    dispatch_main();
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    using tavo::HelperOptions;
    // launchd starts the next helper at once, which cleans up after this one.
    return tavo::runHelper(
        {values + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)}, [](const HelperOptions&) { tavo::serve(); },
        [](const HelperOptions&) {});
}
