#include "login/macos/LoginLaunchManager.h"

#include "base/AtomicFile.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tavo {

namespace {

/// launchd refuses an agent's file that only its owner may read in some of its versions' domains.
constexpr mode_t readableByAll = 0644;

std::string guiDomain() {
    return fmt::format("gui/{}", getuid());
}

void throwUnlessLoaded(const ShellCommandResult& bootstrap) {
    if (bootstrap.exitCode != 0) {
        throw LoginLaunchManagerError::bootstrapFailed(
            bootstrap.standardError.empty()
                ? fmt::format("launchctl bootstrap failed with exit code {}.", bootstrap.exitCode)
                : bootstrap.standardError);
    }
}

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

/// The agent passes nothing on: the app reads its options itself.
LaunchAtLoginManaging::Remainder LoginLaunchManager::enable(const std::filesystem::path& executablePath,
                                                            const std::vector<std::string>& /*options*/) {
    const auto content = propertyListXML(LaunchAgentDefinition{executablePath.string()}.propertyList());
    ensureDirectoryExists(launchAgent.parent_path());
    replaceFileAtomically(launchAgent, content, readableByAll);
    bootoutIgnoringFailure();
    const auto bootstrap = launchctl("bootstrap");
    const auto result = runner->run(bootstrap);
    if (result.exitCode == launchdRefusedToLoad) {
        return [bootstrap, runner = runner, sleeper = sleeper] {
            waitUntilLaunchdForgets(fmt::format("{}/{}", guiDomain(), LaunchAgentDefinition::label), *runner, sleeper);
            throwUnlessLoaded(runner->run(bootstrap));
        };
    }
    throwUnlessLoaded(result);
    return {};
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
    return {.executableURL = "/bin/launchctl", .arguments = {action, guiDomain(), launchAgent.string()}};
}

} // namespace tavo
