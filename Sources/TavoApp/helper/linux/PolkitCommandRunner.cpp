#include "helper/linux/PolkitCommandRunner.h"

#include "base/WakeControlError.h"

#include <fmt/format.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>

namespace tavo {

namespace {

// pkexec(1), "RETURN VALUE": the second also stands for an authorization that nobody could be asked for.
constexpr int dismissed = 126;
constexpr int notAuthorized = 127;

std::optional<std::filesystem::path> findInSearchPath() {
    const char* const variable = std::getenv("PATH");
    std::istringstream folders(variable == nullptr ? "/usr/bin:/bin" : variable);
    for (std::string folder; std::getline(folders, folder, ':');) {
        auto program = std::filesystem::path(folder) / "pkexec";
        // A relative entry means something else in every folder.
        if (program.is_absolute() && access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return std::nullopt;
}

/// pkexec's message, without the hint that the incident will be reported.
std::string reason(const std::string& words) {
    const auto firstLine = words.substr(0, words.find('\n'));
    return firstLine.empty() ? "" : fmt::format(" (pkexec says: {})", firstLine);
}

} // namespace

PolkitCommandRunner::PolkitCommandRunner(std::shared_ptr<CommandRunning> systemRunner, uid_t user,
                                         ProgramFinder findPkexec)
    : systemRunner(std::move(systemRunner)), user(user),
      findPkexec(findPkexec ? std::move(findPkexec) : ProgramFinder(findInSearchPath)) {}

ShellCommand PolkitCommandRunner::withApproval(const ShellCommand& command) const {
    const auto pkexec = findPkexec();
    if (!pkexec) {
        throw WakeControlError::systemUnavailable(
            "this needs an administrator's approval, and pkexec, which asks for it, is not installed; install it "
            "(polkit), or run it as root, as with sudo tavoctl helper install.");
    }
    // In the caller's process group: without a desktop it asks on the terminal.
    ShellCommand approved{.executableURL = *pkexec, .arguments = {command.executableURL.string()}};
    approved.arguments.insert(approved.arguments.end(), command.arguments.begin(), command.arguments.end());
    return approved;
}

ShellCommandResult PolkitCommandRunner::run(const ShellCommand& command) {
    if (!needsApproval(command)) {
        return systemRunner->run(command);
    }
    auto result = systemRunner->run(withApproval(command));
    if (result.exitCode == dismissed) {
        result.standardError = "the administrator's approval was not given; nothing was changed.";
    } else if (result.exitCode == notAuthorized) {
        result.standardError =
            fmt::format("nobody could be asked for an administrator's approval, or it was refused{}; nothing was "
                        "changed. ask again "
                        "from a desktop or a terminal, or as root, as with sudo tavoctl helper install.",
                        reason(result.standardError));
    }
    return result;
}

std::shared_ptr<RunningCommand> PolkitCommandRunner::start(const ShellCommand& command) {
    return systemRunner->start(needsApproval(command) ? withApproval(command) : command);
}

} // namespace tavo
