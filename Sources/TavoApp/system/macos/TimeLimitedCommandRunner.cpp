#include "system/macos/TimeLimitedCommandRunner.h"

#include "system/ChildProcess.h"
#include "system/SystemCommandRunner.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

milliseconds timeUntil(Clock::time_point deadline) {
    return std::max(milliseconds::zero(), std::chrono::ceil<milliseconds>(deadline - Clock::now()));
}

/// One of the child's streams and what it has written there. The descriptor is closed at the end of the stream.
class Stream {
public:
    explicit Stream(FileDescriptor descriptor) : descriptor(std::move(descriptor)) {}

    bool isOpen() const { return static_cast<bool>(descriptor); }

    /// poll(2) passes over the negative descriptor of a stream that has ended.
    pollfd asPolled() const { return {.fd = descriptor.get(), .events = POLLIN, .revents = 0}; }

    /// Blocks while there is nothing to read. An error counts as the end.
    void readSome() {
        std::array<char, 65536> chunk{};
        const auto count = read(descriptor.get(), chunk.data(), chunk.size());
        if (count > 0) {
            bytes.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            descriptor.reset();
        }
    }

    const std::string& content() const { return bytes; }

private:
    FileDescriptor descriptor;
    std::string bytes;
};

/// Whether both streams have ended in time.
bool readToEnd(Stream& output, Stream& error, Clock::time_point deadline) {
    while (output.isOpen() || error.isOpen()) {
        std::array polled{output.asPolled(), error.asPolled()};
        const int ready = poll(polled.data(), polled.size(), static_cast<int>(timeUntil(deadline).count()));
        if (ready == 0) {
            return false;
        }
        if (ready < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "could not read what a command writes");
        }
        if (ready > 0 && polled[0].revents != 0) {
            output.readSome();
        }
        if (ready > 0 && polled[1].revents != 0) {
            error.readSome();
        }
    }
    return true;
}

/// Kills a child that was given up.
class ChildGuard {
public:
    explicit ChildGuard(std::shared_ptr<ReapedChild> child) : child(std::move(child)) {}
    ChildGuard(const ChildGuard&) = delete;
    ChildGuard& operator=(const ChildGuard&) = delete;
    ~ChildGuard() { child->kill(); }

    const ReapedChild* operator->() const { return child.get(); }

private:
    std::shared_ptr<ReapedChild> child;
};

} // namespace

CommandTimeoutError::CommandTimeoutError(const ShellCommand& command, milliseconds limit)
    : DescribedError(fmt::format("{} has not ended within {:g} seconds and was stopped; try again, and restart this "
                                 "computer if it happens again.",
                                 command.executableURL.string(), std::chrono::duration<double>(limit).count())) {}

bool TimeLimitedCommandRunner::supportsPrivilegedCommands() const {
    return SystemCommandRunner::defaultSupportsPrivilegedCommands();
}

ShellCommandResult TimeLimitedCommandRunner::run(const ShellCommand& command) {
    const auto deadline = Clock::now() + limit;
    auto spawned = spawnChild(command, ChildInput::inherited);
    const ChildGuard child(ReapedChild::adopt(spawned.pid));
    Stream output(std::move(spawned.output));
    Stream error(std::move(spawned.error));
    if (readToEnd(output, error, deadline)) {
        if (const auto exitCode = child->waitForExit(timeUntil(deadline))) {
            return {.exitCode = *exitCode,
                    .standardOutput = decodedOutput(output.content()),
                    .standardError = decodedOutput(error.content())};
        }
    }
    throw CommandTimeoutError(command, limit);
}

std::shared_ptr<RunningCommand> TimeLimitedCommandRunner::start(const ShellCommand& command) {
    return SystemCommandRunner().start(command);
}

} // namespace tavo
