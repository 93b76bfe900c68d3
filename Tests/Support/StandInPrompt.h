#pragma once

#include "Support/TemporaryDirectory.h"
#include "system/InterruptibleCommandRunner.h"

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

namespace tavo {

/// A stand-in for the program that asks for an administrator's password: it waits forever. Takes TAVO_TEST_CHILD.
class StandInPrompt final : public CommandRunning {
public:
    StandInPrompt(const TemporaryDirectory& folder, std::shared_ptr<Interruption> interruption)
        : noteOfProcess(folder.path() / "asking"), runner(std::move(interruption)) {
        program = folder.write("prompt", "#!/bin/sh\necho $$ > '" + noteOfProcess.string() +
                                             "'\nexec '" TAVO_TEST_CHILD "' wait\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    bool supportsPrivilegedCommands() const override { return true; }
    ShellCommandResult run(const ShellCommand&) override {
        return runner.run({.executableURL = program, .arguments = {}});
    }
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override { return runner.start(command); }

    bool isAsking() const { return fileContent(noteOfProcess).ends_with('\n'); }

    /// Only while isAsking().
    pid_t processID() const { return static_cast<pid_t>(std::stol(fileContent(noteOfProcess))); }

private:
    std::filesystem::path noteOfProcess;
    std::filesystem::path program;
    InterruptibleCommandRunner runner;
};

} // namespace tavo
