#pragma once

#include "system/CommandRunning.h"

#include <memory>

namespace tavo {

/// Runs privileged commands as root, once the user has given an administrator's password: osascript(1) with "do shell
/// script ... with administrator privileges", and with the command's own prompt where it has one. Every other command
/// runs unchanged.
class AdministratorCommandRunner final : public CommandRunning {
public:
    explicit AdministratorCommandRunner(std::shared_ptr<CommandRunning> systemRunner)
        : systemRunner(std::move(systemRunner)) {}

    /// It has no root rights of its own, but gets them.
    bool supportsPrivilegedCommands() const override { return true; }

    /// Blocks while the user is asked. The result of a privileged command is osascript's: a prompt that was cancelled
    /// is a non-zero exit status, with the reason on standard error.
    ShellCommandResult run(const ShellCommand& command) override;

    /// The handle is osascript's for a privileged command: stopping it does not reach the process that runs as root.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::shared_ptr<CommandRunning> systemRunner;
};

} // namespace tavo
