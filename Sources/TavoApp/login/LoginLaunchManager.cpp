#include "login/LoginLaunchManager.h"

#include "config/AtomicFile.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tavo {

namespace {

/// launchd refuses an agent's file that only its owner may read in some of its versions' domains.
constexpr mode_t readableByAll = 0644;

} // namespace

PropertyListValue LaunchAgentDefinition::propertyList() const {
    using Array = PropertyListValue::Array;
    using Dictionary = PropertyListValue::Dictionary;
    return Dictionary{{"Label", std::string(label)},
                      {"ProgramArguments", Array{executablePath}},
                      {"RunAtLoad", true},
                      {"KeepAlive", false},
                      {"ProcessType", "Interactive"}};
}

void LoginLaunchManager::enable(const std::filesystem::path& executablePath) {
    const auto content = propertyListXML(LaunchAgentDefinition{executablePath.string()}.propertyList());
    ensureDirectoryExists(launchAgent.parent_path());
    replaceFileAtomically(launchAgent, content, readableByAll);
    bootoutIgnoringFailure();
    const auto result = runner->run(launchctl("bootstrap"));
    if (result.exitCode != 0) {
        throw LoginLaunchManagerError::bootstrapFailed(
            result.standardError.empty() ? fmt::format("launchctl bootstrap failed with exit code {}.", result.exitCode)
                                         : result.standardError);
    }
}

void LoginLaunchManager::disable() {
    bootoutIgnoringFailure();
    std::filesystem::remove(launchAgent);
}

bool LoginLaunchManager::isEnabled() const {
    std::error_code ignored; // what cannot be asked about does not exist for the caller
    return std::filesystem::exists(launchAgent, ignored);
}

ShellCommandResult LoginLaunchManager::bootout() const {
    return runner->run(launchctl("bootout"));
}

void LoginLaunchManager::bootoutIgnoringFailure() const noexcept {
    try {
        bootout();
    } catch (...) {
        // An agent that is not loaded cannot be unloaded, and that is what was wanted.
    }
}

ShellCommand LoginLaunchManager::launchctl(const std::string& action) const {
    return {.executableURL = "/bin/launchctl",
            .arguments = {action, fmt::format("gui/{}", getuid()), launchAgent.string()}};
}

} // namespace tavo
