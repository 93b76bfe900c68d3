#include "TavoControl/HeadlessCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/RunOptionsFile.h"
#include "TavoControl/StatusReport.h"
#include "base/ErrorText.h"
#include "base/Text.h"
#include "config/InstanceLock.h"

#include <fmt/format.h>

namespace tavo {

namespace {

constexpr std::string_view onlyOneNote = "only one tavo runs for a user: the one that comes second does not start";

/// tavoctl's own statuses are passed on; the manager has some of its own.
ExitStatus passedOn(int status) {
    for (const auto own : {ExitStatus::wrongUsage, ExitStatus::systemUnavailable, ExitStatus::alreadyRunning,
                           ExitStatus::invalidConfiguration}) {
        if (status == static_cast<int>(own)) {
            return own;
        }
    }
    return ExitStatus::failure;
}

ExitStatus reportFailedStart(int status, const HeadlessLaunchManaging& launch, const TavoStoring& store) {
    const auto outcome = passedOn(status);
    if (outcome == ExitStatus::alreadyRunning) {
        const auto holder = InstanceLock::holder(store.paths().lockURL());
        printError("tavoctl: {} is enabled, but not started, since another tavo is running{}; it starts at the next "
                   "login, or with tavoctl login on --headless once that one has ended.\n",
                   launch.jobName(), holder ? fmt::format(" (process id {})", *holder) : "");
    } else {
        printError("tavoctl: {} is enabled, but ended at once with the exit status {}; {} says why.\n",
                   launch.jobName(), status, visibleControls(launch.log()));
    }
    return outcome;
}

HeadlessLaunchManaging& launchOf(const Platform& platform) {
    if (!platform.headlessLaunch) {
        throw HeadlessLaunchError("nothing on this system could start tavo at login without a desktop; have a service "
                                  "manager start tavoctl run --service.");
    }
    return *platform.headlessLaunch;
}

/// @param store  of the run that is switched on.
/// @param own    of this process.
ExitStatus switchOn(const TavoStoring& store, const TavoPaths& own, const Platform& platform) {
    const RunOptionsFile file(store.paths());
    const auto options = file.read();
    const auto config = loadConfigOrExplain(store);
    auto& launch = launchOf(platform);
    const auto start = launch.enable(platform.programPath);
    const Console console(stdout);
    if (!start.failedWith) {
        console.print(fmt::format("{} is enabled and started.", launch.jobName()));
    }
    console.print(visibleControls(
        fmt::format("it follows config.json and the options in {}; after a change of these, tavoctl login on "
                    "--headless starts it anew.",
                    file.file().string())));
    if (store.paths() != own) {
        console.print(visibleControls(
            fmt::format("that is not {}, the folder of this shell, since your service manager was given another "
                        "XDG_CONFIG_HOME or HOME; environment.d(5) says how to set a variable for both.",
                        own.rootDirectory.string())));
    }
    if (const auto advice = launch.logoutAdvice()) {
        console.print(*advice);
    }
    if (config.launchAtLoginEnabled) {
        console.print(fmt::format("the desktop app is started at login, too, and {}; tavoctl login off leaves the "
                                  "computer to {}.",
                                  onlyOneNote, launch.jobName()));
    }
    if (!options.overrides.appliedTo(config).isEnabled) {
        console.print(fmt::format("{}.", switchedOffNotice));
    }
    return start.failedWith ? reportFailedStart(*start.failedWith, launch, store) : ExitStatus::success;
}

} // namespace

ExitStatus switchHeadlessRun(const HeadlessOptions& options, const TavoStoring& store, const Platform& platform) {
    auto& launch = launchOf(platform);
    if (options.isOn) {
        const auto others = launch.pathsOfRun();
        return others ? switchOn(TavoStore(*others), store.paths(), platform)
                      : switchOn(store, store.paths(), platform);
    }
    Console(stdout).print(launch.disable() ? fmt::format("{} is stopped and disabled.", launch.jobName())
                                           : "nothing to change.");
    return ExitStatus::success;
}

std::optional<std::string> headlessRunNote(bool launchAtLoginEnabled, const Platform& platform) {
    if (!platform.headlessLaunch || !platform.headlessLaunch->isEnabled()) {
        return std::nullopt;
    }
    const auto job = platform.headlessLaunch->jobName();
    return launchAtLoginEnabled
               ? fmt::format("{} is started at login, too, and {}; tavoctl login off --headless leaves the computer to "
                             "the app.",
                             job, onlyOneNote)
               : fmt::format("{} is still started at login; tavoctl login off --headless ends that.", job);
}

} // namespace tavo
