#include "helper/PrivilegedHelperInstaller.h"

#include "base/AtomicFile.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace tavo {

namespace {

constexpr const char* secondApprovalPrompt =
    "tavo could not start its helper while the system was still ending the earlier one. please approve once more.";

/// A path that cannot be read does not exist for the caller.
bool fileExists(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

/// Removes a folder with all that it holds when the scope ends.
class RemovedAtEnd {
public:
    explicit RemovedAtEnd(std::filesystem::path folder) : folder(std::move(folder)) {}
    RemovedAtEnd(const RemovedAtEnd&) = delete;
    RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;
    ~RemovedAtEnd() {
        std::error_code ignored; // a leftover does no harm, and the outcome of the installation is what counts
        std::filesystem::remove_all(folder, ignored);
    }

private:
    std::filesystem::path folder;
};

std::string messageOf(const ShellCommandResult& result, const char* otherwise) {
    return result.standardError.empty() ? otherwise : result.standardError;
}

bool answersPing(PrivilegedHelperClient& client) {
    try {
        return client.send(PrivilegedHelperCommand::ping()) == PrivilegedHelperResponse::pong();
    } catch (...) {
        // Whatever the reason, the helper is out of reach; the next ping may find it started.
        return false;
    }
}

} // namespace

PrivilegedHelperInstallState resolveHelperInstallState(const HelperServiceSetup& setup,
                                                       PrivilegedHelperClient& client) {
    if (!fileExists(setup.helperExecutable()) || !fileExists(setup.serviceDefinition())) {
        return PrivilegedHelperInstallState::notInstalled;
    }
    return answersPing(client) ? PrivilegedHelperInstallState::ready
                               : PrivilegedHelperInstallState::installedUnreachable;
}

PrivilegedHelperInstaller::PrivilegedHelperInstaller(TavoPaths paths, std::shared_ptr<CommandRunning> runner,
                                                     std::shared_ptr<PrivilegedHelperClient> client,
                                                     std::shared_ptr<const HelperServiceSetup> setup,
                                                     HelperReachabilityWait reachabilityWait, Sleeper sleeper)
    : paths(std::move(paths)), runner(std::move(runner)), client(std::move(client)), setup(std::move(setup)),
      reachabilityWait(reachabilityWait), sleeper(std::move(sleeper)) {
    if (!this->sleeper) {
        this->sleeper = [](std::chrono::microseconds delay) { std::this_thread::sleep_for(delay); };
    }
}

PrivilegedHelperInstaller::PrivilegedHelperInstaller(std::shared_ptr<CommandRunning> runner,
                                                     std::shared_ptr<PrivilegedHelperClient> client,
                                                     std::shared_ptr<const HelperServiceSetup> setup,
                                                     HelperReachabilityWait reachabilityWait, Sleeper sleeper)
    : PrivilegedHelperInstaller(TavoPaths::defaultPaths(), std::move(runner), std::move(client), std::move(setup),
                                reachabilityWait, std::move(sleeper)) {}

PrivilegedHelperInstallState PrivilegedHelperInstaller::currentState() const {
    return resolveHelperInstallState(*setup, *client);
}

PrivilegedHelperInstallState
PrivilegedHelperInstaller::install(const std::filesystem::path& helperExecutableSourceURL) const {
    if (!fileExists(helperExecutableSourceURL)) {
        throw PrivilegedHelperInstallerError::missingHelperExecutable(helperExecutableSourceURL.string());
    }
    // Copying a pipe would wait for ever, and a device might never end.
    if (!std::filesystem::is_regular_file(helperExecutableSourceURL)) {
        throw PrivilegedHelperInstallerError::installFailed(helperExecutableSourceURL.string() +
                                                            " is no regular file; nothing was installed.");
    }
    const auto stagingDirectory = setup->makeStagingDirectory(paths);
    std::filesystem::path stagedDefinition;
    std::optional<RemovedAtEnd> staging;
    if (!stagingDirectory.empty()) {
        stagedDefinition = stagingDirectory / setup->serviceDefinition().filename();
        replaceFileAtomically(stagedDefinition, setup->serviceDefinitionContent());
        staging.emplace(stagingDirectory);
    }

    const auto check = setup->installationCheck(helperExecutableSourceURL);
    const auto installAsRoot = [&](const std::string& prompt) {
        auto command = setup->installCommand(helperExecutableSourceURL, stagedDefinition);
        command.approvalPrompt = prompt;
        auto result = runner->run(command);
        if (check) {
            check(result.exitCode == 0);
        }
        return result;
    };
    auto result = installAsRoot("");
    if (result.exitCode != 0 && setup->waitsForEarlierService(result, *runner, sleeper)) {
        result = installAsRoot(secondApprovalPrompt);
    }
    if (result.exitCode != 0) {
        throw PrivilegedHelperInstallerError::installFailed(
            messageOf(result, "failed to install the privileged helper."));
    }
    if (!waitForReachability()) {
        throw PrivilegedHelperInstallerError::helperNotReachable();
    }
    return currentState();
}

PrivilegedHelperInstallState PrivilegedHelperInstaller::uninstall() const {
    const auto result = runner->run(setup->uninstallCommand());
    if (result.exitCode != 0) {
        throw PrivilegedHelperInstallerError::uninstallFailed(
            messageOf(result, "failed to reset the privileged helper."));
    }
    return currentState();
}

bool PrivilegedHelperInstaller::waitForReachability() const {
    if (reachabilityWait.retries < 0) {
        std::fputs("the number of retries is negative.\n", stderr);
        std::abort();
    }
    for (std::int64_t attempt = 1; attempt <= reachabilityWait.retries; ++attempt) {
        if (answersPing(*client)) {
            return true;
        }
        if (attempt < reachabilityWait.retries && reachabilityWait.delayMicroseconds != 0) {
            sleeper(std::chrono::microseconds{reachabilityWait.delayMicroseconds});
        }
    }
    return false;
}

bool PrivilegedHelperCompatibilityChecker::installedHelperMatchesCurrentBuild(
    const std::optional<std::filesystem::path>& sourceExecutableURL) const noexcept {
    if (!sourceExecutableURL) {
        return false;
    }
    try {
        // Most builds differ in size already, and then neither file has to be read.
        return std::filesystem::file_size(*sourceExecutableURL) == std::filesystem::file_size(installedHelper) &&
               readWholeFile(*sourceExecutableURL) == readWholeFile(installedHelper);
    } catch (const std::exception&) {
        // A file that cannot be read proves nothing, so it is not trusted.
        return false;
    }
}

} // namespace tavo
