#pragma once

#include "runtime/AssertionStatus.h"
#include "system/CommandRunning.h"

#include <memory>

namespace tavo {

/// Starts the system's own tool on a Mac, which says nothing: what it holds, by its flags, goes to an AssertionStatus for as long as it
/// runs.
class CaffeinateCommandRunner final : public CommandRunning {
public:
    /// @param runner  runs the programs.
    CaffeinateCommandRunner(std::shared_ptr<CommandRunning> runner, std::shared_ptr<AssertionStatus> assertionStatus);

    bool supportsPrivilegedCommands() const override { return runner->supportsPrivilegedCommands(); }
    ShellCommandResult run(const ShellCommand& command) override { return runner->run(command); }
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

private:
    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<AssertionStatus> assertionStatus;
};

} // namespace tavo
