#include "runtime/linux/InhibitorCommandRunner.h"

#include "base/Text.h"
#include "base/WakeControlError.h"
#include "system/ChildProcess.h"

#include <fmt/format.h>
#include <poll.h>
#include <sysexits.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace tavo {

namespace {

/// How long a child that has closed its output may take to end, before its exit status is given up.
constexpr std::chrono::milliseconds exitGrace{1000};

/// Reads the child's two streams side by side, line by line.
class ChildOutput {
public:
    ChildOutput(FileDescriptor outputEnd, FileDescriptor errorEnd)
        : output(std::move(outputEnd)), error(std::move(errorEnd)) {}

    enum class Outcome { line, end, silence };

    /// Waits for a line of the standard output, taken by takeLine(); for ever when `deadline` is absent.
    Outcome waitForLine(std::optional<std::chrono::steady_clock::time_point> deadline) {
        while (lines.find('\n') == std::string::npos) {
            if (deadline && std::chrono::steady_clock::now() >= *deadline) {
                return Outcome::silence; // a child that writes and writes may say nothing all the same
            }
            std::array<pollfd, 2> waiting{{{output.get(), POLLIN, 0}, {error.get(), POLLIN, 0}}};
            if (!output && !error) {
                return Outcome::end;
            }
            const int ready = poll(waiting.data(), waiting.size(), millisecondsUntil(deadline));
            if (ready <= 0) {
                continue; // the deadline, or a signal that came in between
            }
            receive(output, waiting[0], lines);
            receive(error, waiting[1], errorText);
            if (lines.size() >= maxKept && lines.find('\n') == std::string::npos) {
                lines.clear(); // no report is as long as that
            }
        }
        return Outcome::line;
    }

    std::string takeLine() {
        const auto end = lines.find('\n');
        auto line = lines.substr(0, end);
        lines.erase(0, end + 1);
        return line;
    }

    /// The child's standard error so far.
    std::string errorSentence() const { return std::string(trimWhitespaceAndNewlines(repairUTF8(errorText))); }

private:
    static int millisecondsUntil(std::optional<std::chrono::steady_clock::time_point> deadline) {
        if (!deadline) {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
    }

    static constexpr std::size_t maxKept = 65536;

    static void receive(FileDescriptor& stream, const pollfd& state, std::string& text) {
        if (!stream || state.revents == 0) {
            return;
        }
        std::array<char, 4096> chunk{};
        const auto count = read(stream.get(), chunk.data(), chunk.size());
        if (count > 0 && text.size() < maxKept) {
            text.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || (count < 0 && errno != EINTR)) {
            stream.reset();
        }
    }

    FileDescriptor output;
    FileDescriptor error;
    std::string lines;
    std::string errorText;
};

/// The handle of a running tavo-inhibit. Closing the pipe that it reads ends it as surely as the signal does.
class InhibitorRunningCommand final : public RunningCommand {
public:
    InhibitorRunningCommand(std::shared_ptr<ReapedChild> process, FileDescriptor input,
                            std::shared_ptr<AssertionStatus> assertionStatus, AssertionStatus::Token token)
        : process(std::move(process)), input(std::move(input)), assertionStatus(std::move(assertionStatus)),
          token(token) {}

    bool isRunning() const override { return process->isRunning(); }

    void stop() noexcept override {
        process->terminate();
        assertionStatus->close(token);
    }

    void onEnd(std::function<void()> work) override { process->onEnd(std::move(work)); }

private:
    std::shared_ptr<ReapedChild> process;
    FileDescriptor input;
    std::shared_ptr<AssertionStatus> assertionStatus;
    AssertionStatus::Token token;
};

[[noreturn]] void throwSilence(const ReapedChild& child, std::chrono::milliseconds bound) {
    throw WakeControlError::systemUnavailable(
        fmt::format("the system did not say within {} seconds whether it holds off sleep (process id {}); "
                    "try again, and run tavoctl doctor if it stays so.",
                    std::chrono::duration<double>(bound).count(), child.pid()));
}

[[noreturn]] void throwEarlyEnd(const ReapedChild& child, const ChildOutput& output) {
    const auto status = child.waitForExit(exitGrace);
    auto words = output.errorSentence();
    if (words.empty()) {
        words = status
                    ? fmt::format("the program that holds off sleep ended with status {} and without a word.", *status)
                    : std::string("the program that holds off sleep said nothing and closed its output.");
    }
    // The status with which tavo-inhibit exits when it could not take the lock.
    if (status == EX_UNAVAILABLE) {
        throw WakeControlError::systemUnavailable(words);
    }
    throw WakeControlError::commandFailed(words);
}

} // namespace

InhibitorCommandRunner::InhibitorCommandRunner(std::shared_ptr<CommandRunning> inner,
                                               std::shared_ptr<AssertionStatus> assertionStatus,
                                               std::chrono::milliseconds bound)
    : inner(std::move(inner)), assertionStatus(std::move(assertionStatus)), bound(bound) {}

std::shared_ptr<RunningCommand> InhibitorCommandRunner::start(const ShellCommand& command) {
    auto spawned = spawnChild(inOwnProcessGroup(command), ChildInput::pipe);
    auto child = ReapedChild::adopt(spawned.pid);
    auto output = std::make_shared<ChildOutput>(std::move(spawned.output), std::move(spawned.error));

    std::optional<AssertionReport> first;
    const auto outcome = output->waitForLine(std::chrono::steady_clock::now() + bound);
    if (outcome == ChildOutput::Outcome::line) {
        first = parseAssertionReport(output->takeLine());
    }
    if (!first || first->state != AssertionReportState::held) {
        child->terminate();
        if (outcome == ChildOutput::Outcome::silence) {
            throwSilence(*child, bound);
        }
        throwEarlyEnd(*child, *output);
    }

    const auto token = assertionStatus->open();
    assertionStatus->record(token, *first);
    auto handle = std::make_shared<InhibitorRunningCommand>(child, std::move(spawned.input), assertionStatus, token);
    std::thread([output, assertionStatus = assertionStatus, token] {
        while (output->waitForLine(std::nullopt) == ChildOutput::Outcome::line) {
            if (auto report = parseAssertionReport(output->takeLine())) {
                assertionStatus->record(token, std::move(*report));
            }
        }
    }).detach();
    handle->onEnd([assertionStatus = assertionStatus, token] { assertionStatus->close(token); });
    return handle;
}

} // namespace tavo
