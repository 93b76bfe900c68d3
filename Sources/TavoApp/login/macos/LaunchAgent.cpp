#include "login/macos/LaunchAgent.h"

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

LaunchAtLoginManaging::Remainder LaunchAgent::load(const PropertyListValue& definition) const {
    const auto content = propertyListXML(definition);
    ensureDirectoryExists(file.parent_path());
    replaceFileAtomically(file, content, readableByAll);
    bootoutIgnoringFailure();
    const auto bootstrap = launchctl("bootstrap");
    const auto result = runner->run(bootstrap);
    if (result.exitCode == launchdRefusedToLoad) {
        return [bootstrap, job = fmt::format("{}/{}", guiDomain(), label), runner = runner, sleeper = sleeper] {
            waitUntilLaunchdForgets(job, *runner, sleeper);
            throwUnlessLoaded(runner->run(bootstrap));
        };
    }
    throwUnlessLoaded(result);
    return {};
}

void LaunchAgent::unload() const {
    bootoutIgnoringFailure();
    std::filesystem::remove(file);
}

bool LaunchAgent::hasFile() const {
    std::error_code ignored; // what cannot be asked about does not exist for the caller
    return std::filesystem::exists(file, ignored);
}

void LaunchAgent::bootoutIgnoringFailure() const noexcept {
    try {
        runner->run(launchctl("bootout"));
    } catch (...) {
        // An agent that is not loaded cannot be unloaded, and that is what was wanted.
    }
}

ShellCommand LaunchAgent::launchctl(const std::string& action) const {
    return {.executableURL = "/bin/launchctl", .arguments = {action, guiDomain(), file.string()}};
}

} // namespace tavo
