#include "system/InterruptibleCommandRunner.h"

#include "base/Text.h"
#include "system/ChildProcess.h"
#include "system/SystemCommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

bool isReadable(int descriptor, std::chrono::milliseconds bound) {
    pollfd waited{.fd = descriptor, .events = POLLIN, .revents = 0};
    const auto deadline = std::chrono::steady_clock::now() + bound;
    int count = 0;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        count = poll(&waited, 1, static_cast<int>(left > 0 ? left : 0));
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

/// How long an interrupted child may take to end: less than a quitting program may.
constexpr std::chrono::milliseconds patience{500};

/// For a child that has closed its streams and runs on.
constexpr std::chrono::milliseconds pollInterval{100};

struct Stream {
    FileDescriptor descriptor;
    std::string content;

    /// Takes what is there. Closes at the end; an error counts as the end.
    void read() {
        std::array<char, 65536> chunk{};
        const auto count = ::read(descriptor.get(), chunk.data(), chunk.size());
        if (count > 0) {
            content.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            descriptor = FileDescriptor();
        }
    }
    std::string text() const { return std::string(trimWhitespaceAndNewlines(repairUTF8(content))); }
};

/// Drains both streams to their ends. Gives false when it was interrupted before.
bool drain(Stream& output, Stream& error, const Interruption& interruption) {
    while (output.descriptor || error.descriptor) {
        // poll(2) leaves out what is negative, as a closed stream's number is.
        std::array<pollfd, 3> waited{{{interruption.descriptor(), POLLIN, 0},
                                      {output.descriptor.get(), POLLIN, 0},
                                      {error.descriptor.get(), POLLIN, 0}}};
        if (poll(waited.data(), waited.size(), -1) < 0) {
            continue; // a signal
        }
        if (waited[0].revents != 0) {
            return false;
        }
        if (waited[1].revents != 0) {
            output.read();
        }
        if (waited[2].revents != 0) {
            error.read();
        }
    }
    return true;
}

std::optional<std::int32_t> waitForExit(const ReapedChild& process, const Interruption& interruption) {
    for (;;) {
        const auto exitCode = process.waitForExit(pollInterval);
        if (exitCode || interruption.isInterrupted()) {
            return exitCode;
        }
    }
}

} // namespace

Interruption::Interruption() {
    std::array<int, 2> ends{};
    if (!makeClosingPipe(ends)) {
        throw std::system_error(errno, std::generic_category(), "could not make a pipe");
    }
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
    // However often it is called for: a full pipe must not block.
    fcntl(writing.get(), F_SETFL, O_NONBLOCK);
}

void Interruption::interrupt() noexcept {
    constexpr char anything = 0;
    while (write(writing.get(), &anything, 1) < 0 && errno == EINTR) {
    }
}

bool Interruption::isInterrupted() const noexcept {
    return isReadable(reading.get(), std::chrono::milliseconds{0});
}

void Interruption::sleep(std::chrono::microseconds time) const {
    if (isReadable(reading.get(), std::chrono::ceil<std::chrono::milliseconds>(time))) {
        throw Interrupted();
    }
}

InterruptibleCommandRunner::InterruptibleCommandRunner(std::shared_ptr<Interruption> interruption)
    : interruption(std::move(interruption)) {}

bool InterruptibleCommandRunner::supportsPrivilegedCommands() const {
    return SystemCommandRunner::defaultSupportsPrivilegedCommands();
}

ShellCommandResult InterruptibleCommandRunner::run(const ShellCommand& command) {
    if (interruption->isInterrupted()) {
        throw Interrupted();
    }
    auto child = spawnChild(command, ChildInput::inherited);
    const auto process = ReapedChild::adopt(child.pid);
    Stream output{.descriptor = std::move(child.output), .content = {}};
    Stream error{.descriptor = std::move(child.error), .content = {}};
    std::optional<std::int32_t> exitCode;
    if (drain(output, error, *interruption)) {
        exitCode = waitForExit(*process, *interruption);
    }
    if (!exitCode) {
        process->terminate();
        process->waitForExit(patience);
        throw Interrupted();
    }
    return {.exitCode = *exitCode, .standardOutput = output.text(), .standardError = error.text()};
}

std::shared_ptr<RunningCommand> InterruptibleCommandRunner::start(const ShellCommand& command) {
    return SystemCommandRunner().start(command);
}

} // namespace tavo
