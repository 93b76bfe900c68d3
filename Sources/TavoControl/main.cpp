#include "CommandLine.h"
#include "ConfigurationError.h"
#include "DoctorCommand.h"
#include "ExitStatus.h"
#include "HelperCommand.h"
#include "ProcessesCommand.h"
#include "RunCommand.h"
#include "SettingsCommand.h"
#include "StatusCommand.h"
#include "base/ErrorText.h"
#include "base/PrintError.h"
#include "base/Text.h"
#include "config/TrustedPath.h"
#include "system/BusAddresses.h"
#include "system/ProgramLocation.h"

#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <type_traits>

namespace tavo {
namespace {

ExitStatus carryOut(const Invocation& invocation, const char* calledAs) {
    const auto paths = invocation.root ? TavoPaths{*invocation.root} : TavoPaths::defaultPaths();
    trustedFolder(paths.rootDirectory);
    const auto store = std::make_shared<TavoStore>(paths);
    auto platform = makePlatform(runningProgram(calledAs), paths);
    return std::visit(
        [&](const auto& options) {
            using Options = std::decay_t<decltype(options)>;
            if constexpr (std::is_same_v<Options, RunOptions>) {
                return runInForeground(options, store, std::move(platform));
            } else if constexpr (std::is_same_v<Options, StatusOptions>) {
                return printStatus(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, ProcessesOptions>) {
                return printProcesses(options, *store, platform);
            } else if constexpr (std::is_same_v<Options, GetOptions>) {
                return SettingsCommand(platform, *store).print(options);
            } else if constexpr (std::is_same_v<Options, ChangeOptions>) {
                return SettingsCommand(platform, *store).change(options);
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
        invocation.command);
}

ExitStatus runProgram(int count, const char* const* values) {
    // A parent that ignores this signal would have the kernel reap our children before we can ask how they ended.
    std::signal(SIGCHLD, SIG_DFL);
    restrictBusAddresses();
    const auto parsed = parseCommandLine(count, values);
    if (const auto* usage = std::get_if<UsageReply>(&parsed)) {
        if (usage->isError) {
            printError("tavoctl: {}\n", visibleControls(usage->text));
            return ExitStatus::wrongUsage;
        }
        fmt::print("{}", usage->text);
        return ExitStatus::success;
    }
    try {
        return carryOut(std::get<Invocation>(parsed), values[0]);
    } catch (const std::exception& error) {
        printError("tavoctl: {}\n", visibleControls(errorText(error)));
        return exitStatusOf(std::current_exception());
    }
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    tavo::prepareChildEnvironment();
    return static_cast<int>(tavo::runProgram(count, values));
}
