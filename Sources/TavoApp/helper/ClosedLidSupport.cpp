#include "helper/ClosedLidSupport.h"

#include "helper/PrivilegedHelperInstaller.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <variant>

namespace tavo {

namespace {

// The helper lets one second pass before it begins to remove itself.
constexpr int removalPollAttempts = 25;
constexpr std::chrono::microseconds pollInterval{100000};

bool isThere(const std::filesystem::path& file) {
    std::error_code ignored; // a path that cannot be read does not exist for the caller
    return std::filesystem::exists(file, ignored);
}

} // namespace

ClosedLidSupport::ClosedLidSupport(Parts parts) : parts(std::move(parts)) {
    if (!this->parts.sleeper) {
        this->parts.sleeper = [](std::chrono::microseconds time) { std::this_thread::sleep_for(time); };
    }
}

PrivilegedHelperInstallState ClosedLidSupport::state() const {
    return resolveHelperInstallState(*parts.setup, *parts.client);
}

bool ClosedLidSupport::hasFiles() const {
    const auto files = parts.setup->installedFiles();
    return std::any_of(files.begin(), files.end(), isThere);
}

bool ClosedLidSupport::matchesThisBuild() const {
    return PrivilegedHelperCompatibilityChecker(parts.setup->helperExecutable())
        .installedHelperMatchesCurrentBuild(parts.source);
}

PrivilegedHelperInstallState ClosedLidSupport::waitForState(PrivilegedHelperInstallState wanted,
                                                            HelperReachabilityWait wait) const {
    for (std::int64_t attempt = 1; attempt <= wait.retries; ++attempt) {
        if (state() == wanted) {
            return wanted;
        }
        if (attempt < wait.retries) {
            parts.sleeper(std::chrono::microseconds{wait.delayMicroseconds});
        }
    }
    return state();
}

PrivilegedHelperInstallState ClosedLidSupport::install(const TavoPaths& paths) const {
    if (!parts.source) {
        throw PrivilegedHelperInstallerError::missingHelperExecutable("");
    }
    return installer(paths).install(*parts.source);
}

PrivilegedHelperInstallState ClosedLidSupport::uninstall(const TavoPaths& paths) const {
    return installer(paths).uninstall();
}

bool ClosedLidSupport::reset() const {
    const auto response = parts.client->send(PrivilegedHelperCommand::resetSupport());
    if (const auto* error = std::get_if<PrivilegedHelperResponse::Error>(&response.value)) {
        throw PrivilegedHelperInstallerError::uninstallFailed(error->message);
    }
    for (int attempt = 1; hasFiles(); ++attempt) {
        if (attempt == removalPollAttempts) {
            return false;
        }
        parts.sleeper(pollInterval);
    }
    return true;
}

PrivilegedHelperInstaller ClosedLidSupport::installer(const TavoPaths& paths) const {
    return {paths, parts.administratorRunner, parts.client, parts.setup, {}, parts.sleeper};
}

} // namespace tavo
