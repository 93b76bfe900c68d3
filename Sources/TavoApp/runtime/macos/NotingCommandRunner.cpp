#include "runtime/macos/NotingCommandRunner.h"

#include "base/AtomicFile.h"
#include "base/JsonCoding.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

void removeNote(const std::filesystem::path& note) noexcept {
    std::error_code ignored; // a note of a process that has ended does no harm
    std::filesystem::remove(note, ignored);
}

/// A child whose note goes with it.
class RecordedCommand final : public RunningCommand {
public:
    RecordedCommand(std::shared_ptr<RunningCommand> child, std::filesystem::path note)
        : child(std::move(child)), note(std::move(note)) {}

    bool isRunning() const override { return child->isRunning(); }
    void stop() noexcept override {
        child->stop();
        removeNote(note);
    }
    void onEnd(std::function<void()> work) override { child->onEnd(std::move(work)); }
    std::optional<pid_t> processID() const override { return child->processID(); }

private:
    std::shared_ptr<RunningCommand> child;
    std::filesystem::path note;
};

} // namespace

NotingCommandRunner::NotingCommandRunner(std::shared_ptr<CommandRunning> runner, std::filesystem::path note,
                                         StartTime startTime)
    : runner(std::move(runner)), note(std::move(note)), startTime(std::move(startTime)) {}

std::shared_ptr<RunningCommand> NotingCommandRunner::start(const ShellCommand& command) {
    auto child = runner->start(command);
    if (const auto pid = child->processID()) {
        write(*pid);
    }
    return std::make_shared<RecordedCommand>(std::move(child), note);
}

void NotingCommandRunner::write(pid_t pid) const {
    try {
        if (const auto started = startTime(pid)) {
            ensureDirectoryExists(note.parent_path());
            replaceFileAtomically(note, prettyJson({{"pid", pid}, {"startTime", *started}}));
        }
    } catch (const std::exception&) {
        // Only a kill of this process would have had a use for it.
    }
}

std::optional<pid_t> NotingCommandRunner::orphan() const {
    try {
        const auto record = parseJson(readWholeFile(note));
        const JsonObjectReader reader(record);
        const auto pid = reader.required<std::int32_t>("pid");
        if (pid > 1 && startTime(pid) == static_cast<std::uint64_t>(reader.required<std::int64_t>("startTime"))) {
            return pid;
        }
    } catch (const std::exception&) {
        // There is no note, or it says nothing: then there is nobody.
    }
    return std::nullopt;
}

void NotingCommandRunner::endOrphan() const {
    if (const auto pid = orphan()) {
        kill(*pid, SIGTERM);
    }
    removeNote(note);
}

} // namespace tavo
