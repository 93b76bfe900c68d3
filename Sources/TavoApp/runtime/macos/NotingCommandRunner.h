#pragma once

#include "system/CommandRunning.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace tavo {

/// Records the child that it has started in a file, for as long as that is to run: a child that does not notice the end
/// of its parent, as the system's own tool on a Mac does not, outlives a Tavo that was killed. The next start then ends
/// it.
class NotingCommandRunner final : public CommandRunning {
public:
    /// When a process started, see processStart().
    using StartTime = std::function<std::optional<std::uint64_t>(pid_t)>;

    /// @param note  the file, whose folder is made when it is missing.
    NotingCommandRunner(std::shared_ptr<CommandRunning> runner, std::filesystem::path note, StartTime startTime);

    bool supportsPrivilegedCommands() const override { return runner->supportsPrivilegedCommands(); }
    ShellCommandResult run(const ShellCommand& command) override { return runner->run(command); }

    /// The note is best effort: a child without one is held as well as any other.
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override;

    /// The child that an earlier process has recorded, if the process with its number is still that one.
    std::optional<pid_t> orphan() const;

    /// Ends the child that an earlier process has recorded (SIGTERM), and removes the note. To be called only by the
    /// one Tavo of the user.
    void endOrphan() const;

private:
    void write(pid_t pid) const;

    std::shared_ptr<CommandRunning> runner;
    std::filesystem::path note;
    StartTime startTime;
};

} // namespace tavo
