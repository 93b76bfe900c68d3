#pragma once

#include "system/CommandRunning.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace tavo {

/// Runs privileged commands as root, once the user has given an administrator's approval: pkexec(1). A process that is
/// root needs no approval. Every other command runs unchanged.
class PolkitCommandRunner final : public CommandRunning {
public:
    using ProgramFinder = std::function<std::optional<std::filesystem::path>()>;

    /// @param user        the effective user of this process.
    /// @param findPkexec  gives pkexec's file, or nothing when it is not installed; looks into PATH by default.
    explicit PolkitCommandRunner(std::shared_ptr<CommandRunning> systemRunner, uid_t user = geteuid(),
                                 ProgramFinder findPkexec = {});

    /// It has no root rights of its own, but gets them.
    bool supportsPrivilegedCommands() const override { return true; }

    /// Blocks while the user is asked, by the desktop's agent or on the terminal. When approval was not given, the
    /// result's standard error says so in a sentence; a privileged command's own status is therefore never 126 or 127.
    /// @throws WakeControlError when there is no pkexec, and the system runner's errors.
    ShellCommandResult run(const ShellCommand& command) override;

    /// The handle is pkexec's for a privileged command: stopping it does not reach the process that runs as root.
    /// @throws as run() does.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    bool needsApproval(const ShellCommand& command) const { return command.requiresPrivilege && user != 0; }
    ShellCommand withApproval(const ShellCommand& command) const;

    std::shared_ptr<CommandRunning> systemRunner;
    uid_t user;
    ProgramFinder findPkexec;
};

} // namespace tavo
