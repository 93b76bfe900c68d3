#include "app/macos/MacPlatform.h"
#include "helper/PrivilegedHelperCommandDispatcher.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "helper/macos/CommandBackedPrivilegedSleepController.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "system/SystemCommandRunner.h"

#include <cerrno>
#include <system_error>

namespace tavo {

namespace {

/// A helper within this process: there while its two files are, and doing with real command lines what the real one
/// does.
class HelperInProcess final : public PrivilegedHelperClient {
public:
    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) override {
        if (!std::filesystem::exists(setup->helperExecutable()) ||
            !std::filesystem::exists(setup->serviceDefinition())) {
            throw std::system_error(ENOENT, std::generic_category(), "no such service");
        }
        const PrivilegedHelperSelfResetter resetter(runner, setup, 1);
        return PrivilegedHelperCommandDispatcher(std::make_shared<CommandBackedPrivilegedSleepController>(runner, true),
                                                 [&resetter] { resetter.requestReset(); })
            .handle(command);
    }

private:
    std::shared_ptr<SystemCommandRunner> runner = std::make_shared<SystemCommandRunner>();
    std::shared_ptr<LaunchDaemonSetup> setup = std::make_shared<LaunchDaemonSetup>();
};

} // namespace

// In the place of those that a Linux program is linked with: a program as it is on a Mac.
void prepareChildEnvironment() {
    prepareMacChildEnvironment();
}

Platform makePlatform(const std::filesystem::path& programPath, const TavoPaths& paths) {
    return makeMacPlatform(programPath, paths, std::make_shared<HelperInProcess>());
}

} // namespace tavo
