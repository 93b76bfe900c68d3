#include "TavoControl/Completion.h"
#include "TavoControl/Console.h"
#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/DoctorCommand.h"
#include "TavoControl/ExecCommand.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/ExplainCommand.h"
#include "TavoControl/HeadlessCommand.h"
#include "TavoControl/HelperCommand.h"
#include "TavoControl/HistoryCommand.h"
#include "TavoControl/ProcessesCommand.h"
#include "TavoControl/RunCommand.h"
#include "TavoControl/RunOptionsFile.h"
#include "TavoControl/ServiceNotification.h"
#include "TavoControl/SettingsCommand.h"
#include "TavoControl/StatusCommand.h"
#include "TavoControl/SystemChecks.h"
#include "TavoControl/WatchCommand.h"
#include "base/ErrorText.h"
#include "base/Text.h"
#include "base/TrustedPath.h"
#include "system/BusAddresses.h"
#include "system/FreedMemory.h"
#include "system/ProgramLocation.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <type_traits>

namespace tavo {
namespace {

int carryOut(const Invocation& invocation, const char* calledAs, const InheritedConditions& conditions) {
    const auto paths = invocation.root ? TavoPaths{*invocation.root} : TavoPaths::defaultPaths();
    trustedFolder(paths.rootDirectory);
    const auto store = std::make_shared<TavoStore>(paths);
    // Other commands may be a part of somebody else's service, and leave its address to what they start.
    auto notification = std::holds_alternative<RunOptions>(invocation.command) ? ServiceNotification::fromEnvironment()
                                                                               : ServiceNotification();
    auto platform = makePlatform(runningProgram(calledAs), paths);
    return static_cast<int>(std::visit(
        [&](const auto& options) {
            using Options = std::decay_t<decltype(options)>;
            if constexpr (std::is_same_v<Options, RunOptions>) {
                return runInForeground(options.isService ? RunOptionsFile(paths).read() : options, store,
                                       std::move(platform), std::move(notification));
            } else if constexpr (std::is_same_v<Options, ExecOptions>) {
                // The command's status, which may be any number.
                return static_cast<ExitStatus>(runCommandAwake(options, store, std::move(platform), conditions));
            } else if constexpr (std::is_same_v<Options, StatusOptions>) {
                return printStatus(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, ProcessesOptions>) {
                return printProcesses(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, HistoryOptions>) {
                return printHistory(options, *store);
            } else if constexpr (std::is_same_v<Options, ExplainOptions>) {
                return printExplanation(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, WatchOptions>) {
                return watchLive(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, GetOptions>) {
                return SettingsCommand(platform, *store).print(options);
            } else if constexpr (std::is_same_v<Options, ChangeOptions>) {
                return SettingsCommand(platform, *store).change(options);
            } else if constexpr (std::is_same_v<Options, HeadlessOptions>) {
                return switchHeadlessRun(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, HelperCommandOptions>) {
                return HelperCommand(platform, *store).carryOut(options);
            } else {
                auto checks = checkMeansToStayAwake(platform);
                for (auto& check : checkSurroundings(platform, *store)) {
                    checks.push_back(std::move(check));
                }
                return printChecks(options, checks);
            }
        },
        invocation.command));
}

ExitStatus printUsage(const UsageReply& usage) {
    if (usage.isError) {
        printError("tavoctl: {}\n", visibleControls(usage.text));
        return ExitStatus::wrongUsage;
    }
    Console(stdout).print(trimWhitespaceAndNewlines(usage.text));
    return ExitStatus::success;
}

/// For the shells' completion, which has no use for a word of complaint.
int printCompletion(const std::vector<std::string>& arguments, const char* calledAs) {
    const auto processes = [&] {
        return makePlatform(runningProgram(calledAs), TavoPaths::defaultPaths())
            .processes->snapshot(std::chrono::system_clock::now())
            .processes;
    };
    try {
        const auto text = completeCommandLine(arguments, processes);
        Console(stdout).print(trimWhitespaceAndNewlines(text.value_or("")));
        return static_cast<int>(text ? ExitStatus::success : ExitStatus::wrongUsage);
    } catch (const std::exception&) {
        return static_cast<int>(ExitStatus::failure);
    }
}

/// A standard stream that was closed at the start would be the next file that is opened, and output would go there.
void openClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // open() takes the lowest free number. A write to the output then fails, and that is reported.
            open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// The system's error for a folder that cannot be made does not say that the home is missing.
std::string homeNote(const std::variant<Invocation, UsageReply>& parsed, const std::exception& error) {
    const auto* const invocation = std::get_if<Invocation>(&parsed);
    if (invocation == nullptr || invocation->root || dynamic_cast<const std::system_error*>(&error) == nullptr) {
        return "";
    }
    const auto home = missingHome(TavoPaths::defaultPaths().rootDirectory);
    return home ? " " + visibleControls(*home) + "." : "";
}

int runProgram(int count, const char* const* values, const InheritedConditions& conditions) {
    // A parent that ignores this signal would have the kernel reap our children before we can ask how they ended.
    std::signal(SIGCHLD, SIG_DFL);
    restrictBusAddresses();
    // A reader that has gone is noticed at the next write, and does not interrupt an operation halfway.
    std::signal(SIGPIPE, SIG_IGN);
    if (count > 1 && std::string_view(values[1]) == "--complete") {
        return printCompletion({values + 2, values + count}, values[0]);
    }
    const auto parsed = parseCommandLine(count, values, Console(stdout).width().value_or(helpWidth));
    try {
        if (const auto* usage = std::get_if<UsageReply>(&parsed)) {
            return static_cast<int>(printUsage(*usage));
        }
        return carryOut(std::get<Invocation>(parsed), values[0], conditions);
    } catch (const OutputError& error) {
        if (!error.isReaderGone()) {
            printError("tavoctl: {}\n", errorText(error));
        }
        return static_cast<int>(ExitStatus::failure);
    } catch (const std::exception& error) {
        printError("tavoctl: {}{}\n", visibleControls(errorText(error)), homeNote(parsed, error));
        return static_cast<int>(exitStatusOf(std::current_exception()));
    }
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    tavo::returnFreedMemory();
    const auto conditions = tavo::InheritedConditions::capture();
    tavo::openClosedStreams();
    tavo::prepareChildEnvironment();
    return tavo::runProgram(count, values, conditions);
}
