#include "app/LaunchArguments.h"
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
#include "base/PrintError.h"
#include "base/Text.h"
#include "config/InstanceLock.h"
#include "config/TavoStore.h"
#include "config/TrustedPath.h"
#include "system/BusAddresses.h"
#include "system/ChildLocale.h"
#include "system/ProgramLocation.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

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
    std::string root;
    bool isHidden = false;
    WindowRequest request;
};

/// Gives the status to end with when there is nothing to start.
std::optional<int> parse(int count, char** values, Arguments& arguments) {
    CLI::App parser{"keeps this computer awake on your terms; tavoctl is its companion in a terminal", "tavo"};
    parser.set_help_flag("-h,--help", "print this help");
    parser.set_version_flag("--version", "tavo " TAVO_VERSION, "print the version");
    parser.add_flag("--hidden", arguments.isHidden, "start without opening the window");
    parser
        .add_option("--root", arguments.root, "the folder of config.json and state.json, in place of the default one")
        ->type_name("DIR");
    try {
        parser.parse(count, values);
        return std::nullopt;
    } catch (const CLI::CallForVersion& request) {
        fmt::print("{}\n", request.what());
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", parser.help());
    } catch (const CLI::ParseError& error) {
        printError("tavo: {}; tavo --help lists what there is.\n", error.what());
        return wrongUsage;
    }
    return EXIT_SUCCESS;
}

/// What the note of a lock says of its holder.
bool hasWindow(const std::string& note) {
    try {
        return parseJson(note).value(InstanceLock::windowKey, false);
    } catch (const std::exception&) {
        // Without a note it is a run in a terminal, which would take a request for its window for nothing.
        return false;
    }
}

/// Shows the window of the Tavo that runs already; one in a terminal has none.
int raiseOther(const TavoPaths& paths, const WindowRequest& request) {
    const auto holder = InstanceLock::holder(paths.lockURL());
    if (holder && hasWindow(InstanceLock::noteOfHolder(paths.lockURL())) &&
        (sendWindowRequest(paths.lockURL(), request) || kill(*holder, SIGUSR2) == 0)) {
        return EXIT_SUCCESS;
    }
    const auto text = fmt::format("another tavo is running in a terminal{}; end it first.",
                                  holder ? fmt::format(" (process id {})", *holder) : "");
    printError("tavo: {}\n", text);
    PlainMessageBox(QMessageBox::Information, text).exec();
    return alreadyRunning;
}

int runApplication(QApplication& application, const Arguments& arguments, const char* calledAs,
                   std::optional<BlockedSignals>& blocked) {
    const auto paths =
        arguments.root.empty() ? TavoPaths::defaultPaths() : TavoPaths{std::filesystem::absolute(arguments.root)};
    trustedFolder(paths.rootDirectory);
    auto lock = InstanceLock::acquire(paths.lockURL(), TavoAppMain::lockNote(false));
    if (!lock) {
        blocked.reset(); // there is nothing to release
        return raiseOther(paths, arguments.request);
    }
    auto platform = makePlatform(runningProgram(calledAs), paths);
    platform.history =
        makeHistory(paths, "tavo", [](const std::string& text) { printError("tavo: {}\n", visibleControls(text)); });
    TavoAppMain main({.isHidden = arguments.isHidden}, std::make_shared<TavoStore>(paths), std::move(platform),
                     std::move(*lock));
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
    restrictBusAddresses();
    if (!hasDisplay()) {
        printError("tavo: there is no display to show windows on; tavoctl run works without one.\n");
        return systemUnavailable;
    }
    // Nobody may find the process id in the lock file and signal it before the signals are handled; and the threads that
    // Qt starts leave them to the one that waits for them.
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
    tavo::prepareChildEnvironment();
    tavo::useInstalledUTF8Locale();
    auto arguments = tavo::withoutProcessSerialNumber(count, values);
    return tavo::start(static_cast<int>(arguments.size()) - 1, arguments.data());
}
