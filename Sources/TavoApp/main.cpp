#include "app/LaunchArguments.h"
#include "app/LaunchCommandLine.h"
#include "app/Platform.h"
#include "app/ProcessSignals.h"
#include "app/views/DesktopColourScheme.h"
#include "app/views/PlainMessageBox.h"
#include "app/views/PlatformWindow.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/TavoAppMain.h"
#include "app/views/WindowRequests.h"
#include "base/ErrorText.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "base/TrustedPath.h"
#include "config/InstanceLock.h"
#include "config/TavoStore.h"
#include "system/BusAddresses.h"
#include "system/FreedMemory.h"
#include "system/ProgramLocation.h"
#include "system/macos/ChildLocale.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace tavo {
namespace {

// Of sysexits.h.
constexpr int wrongUsage = 64;
constexpr int systemUnavailable = 69;
constexpr int alreadyRunning = 75;

struct Arguments {
    LaunchOptions options;
    WindowRequest request;
};

/// Returns the exit status if there is nothing to start.
std::optional<int> parse(int count, char** values, Arguments& arguments) {
    const auto parsed = parseLaunchCommandLine(count, values, TAVO_VERSION);
    if (const auto* reply = std::get_if<LaunchReply>(&parsed)) {
        if (reply->isError) {
            printError("tavo: {}\n", visibleControls(reply->text));
            return wrongUsage;
        }
        fmt::print("{}", reply->text);
        return EXIT_SUCCESS;
    }
    arguments.options = std::get<LaunchOptions>(parsed);
    return std::nullopt;
}

/// The content of a lock's note about its holder.
bool hasWindow(const std::string& note) {
    try {
        return parseJson(note).value(InstanceLock::windowKey, false);
    } catch (const std::exception&) {
        // Without a note it is a run in a terminal, which has no window to show.
        return false;
    }
}

/// Has the running Tavo do what was asked for; one in a terminal has no window.
int askOther(const TavoPaths& paths, const WindowRequest& request) {
    const auto holder = InstanceLock::holder(paths.lockURL());
    if (holder && hasWindow(InstanceLock::noteOfHolder(paths.lockURL()))) {
        if (sendWindowRequest(paths.lockURL(), request)) {
            return EXIT_SUCCESS;
        }
        if (kill(*holder, SIGUSR2) == 0) {
            if (showsWindow(request.action)) {
                return EXIT_SUCCESS;
            }
            printError("tavo: the tavo that is running cannot be told to {} from here, so its window is shown: use the "
                       "button there, or tavoctl.\n",
                       rawValue(request.action));
            return EXIT_FAILURE;
        }
    }
    const auto text = fmt::format("another tavo is running in a terminal{}; end it first.",
                                  holder ? fmt::format(" (process id {})", *holder) : "");
    printError("tavo: {}\n", text);
    PlainMessageBox(QMessageBox::Information, text).exec();
    return alreadyRunning;
}

/// Without a running Tavo nothing is kept awake: what is left is that the next one is paused, too.
int pauseNextStart(const TavoStore& store) {
    auto config = store.loadConfig();
    if (config.isEnabled) {
        config.isEnabled = false;
        store.saveConfig(config);
    }
    fmt::print("no tavo is running; the next one starts paused.\n");
    return EXIT_SUCCESS;
}

/// The requirement of a Tavo without options of this kind.
std::optional<WorkRequirement> keptRequirement(const Platform& platform) {
    try {
        return platform.requirementAtStart();
    } catch (const std::exception& error) {
        printError("tavo: {}\n", visibleControls(errorText(error)));
        return std::nullopt;
    }
}

/// The running Tavo keeps the options of its own start.
void warnOfOtherOptions(const TavoPaths& paths, const std::optional<WorkRequirement>& askedFor) {
    std::optional<WorkRequirement> running;
    try {
        const auto note = parseJson(InstanceLock::noteOfHolder(paths.lockURL()));
        running = JsonObjectReader(note).optional<WorkRequirement>(WorkRequirement::noteKey);
    } catch (const std::exception&) {
        // It has left no note, so nothing is known about its options.
    }
    if (askedFor && running != askedFor) {
        printError("tavo: the tavo that is running keeps its own options, {}; quit it first to start it with others.\n",
                   running ? fmt::format("{}", fmt::join(running->arguments(), " ")) : "without --while-working");
    }
}

int runApplication(QApplication& application, const Arguments& arguments, const char* calledAs,
                   std::optional<BlockedSignals>& blocked) {
    const auto paths = arguments.options.root.empty() ? TavoPaths::defaultPaths()
                                                      : TavoPaths{std::filesystem::absolute(arguments.options.root)};
    trustedFolder(paths.rootDirectory);
    auto platform = makePlatform(runningProgram(calledAs), paths);
    const auto whileWorking =
        arguments.options.whileWorking ? arguments.options.whileWorking : keptRequirement(platform);
    auto lock = InstanceLock::acquire(paths.lockURL(), TavoAppMain::lockNote(false, whileWorking));
    if (!lock) {
        blocked.reset(); // there is nothing to release
        warnOfOtherOptions(paths, arguments.options.whileWorking);
        return askOther(paths, arguments.request);
    }
    if (arguments.options.action == RequestedAction::pause) {
        return pauseNextStart(TavoStore(paths));
    }
    platform.history =
        makeHistory(paths, "tavo", [](const std::string& text) { printError("tavo: {}\n", visibleControls(text)); });
    TavoAppMain main(
        {.isHidden = arguments.options.isHidden, .action = arguments.options.action, .whileWorking = whileWorking},
        std::make_shared<TavoStore>(paths), std::move(platform), std::move(*lock));
    const int status = application.exec();
    if (!main.finish()) {
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}

int start(int count, char** values) {
    Arguments arguments;
    if (const auto status = parse(count, values, arguments)) {
        return *status;
    }
    // A parent that ignores this signal would have the kernel reap our children before we can ask how they ended.
    std::signal(SIGCHLD, SIG_DFL);
    arguments.request = WindowRequest::fromEnvironment();
    arguments.request.action = arguments.options.action;
    restrictBusAddresses();
    if (!hasDisplay()) {
        printError("tavo: there is no display to show windows on; tavoctl run works without one.\n");
        return systemUnavailable;
    }
    // A process that finds this one in the lock file must not signal it before the signals are handled; and the threads
    // that Qt starts leave the signals to the one that waits for them.
    std::optional<BlockedSignals> blocked(std::in_place, TavoAppMain::handledSignals());
    QApplication::setDesktopFileName(QStringLiteral("com.vrd.tavo"));
    QApplication::setApplicationName(QStringLiteral("tavo"));
    QApplication application(count, values);
    const DesktopColourScheme colours;
    try {
        return runApplication(application, arguments, values[0], blocked);
    } catch (const std::exception& error) {
        blocked.reset();
        const auto text = errorText(error);
        printError("tavo: {}\n", text);
        PlainMessageBox(QMessageBox::Critical, text).exec();
        return EXIT_FAILURE;
    }
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    tavo::returnFreedMemory();
    tavo::prepareChildEnvironment();
    tavo::useInstalledUTF8Locale();
    auto arguments = tavo::withoutProcessSerialNumber(count, values);
    return tavo::start(static_cast<int>(arguments.size()) - 1, arguments.data());
}
