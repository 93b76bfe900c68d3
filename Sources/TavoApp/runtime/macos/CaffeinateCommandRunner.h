#pragma once

#include "runtime/AssertionStatus.h"
#include "system/CommandRunning.h"

#include <sys/types.h>

#include <memory>
#include <string>
#include <utility>

namespace tavo {

/// Starts the system's own tool on a Mac, which reports nothing: the locks that its flags ask for are on the
/// AssertionStatus for as long as it runs.
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

/// Starts the system's own tool on a Mac so that it ends with a process, however that ends: caffeinate(8), "-w". For
/// runs that leave no note for a later one to find.
class TiedCaffeinateRunner final : public CommandRunning {
public:
    TiedCaffeinateRunner(std::shared_ptr<CommandRunning> runner, pid_t process)
        : runner(std::move(runner)), process(process) {}

    bool supportsPrivilegedCommands() const override { return runner->supportsPrivilegedCommands(); }
    ShellCommandResult run(const ShellCommand& command) override { return runner->run(command); }
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override {
        auto tied = command;
        tied.arguments.insert(tied.arguments.end(), {"-w", std::to_string(process)});
        return runner->start(tied);
    }

private:
    std::shared_ptr<CommandRunning> runner;
    pid_t process;
};

} // namespace tavo
