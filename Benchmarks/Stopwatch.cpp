// Measures how long programs of others take, in microseconds, which it prints:
//
//   stopwatch exit COMMAND...   from the start of a command until it has ended
//   stopwatch lock COMMAND...   from the start of a command until logind has a new lock; it is ended then (SIGTERM)
//   stopwatch unlock PID        from SIGKILL to a process until logind has dropped a lock
//
// The output of a command goes nowhere else, and a command has to succeed.

#include "base/FileDescriptor.h"

#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

extern char** environ;

namespace tavo {
namespace {

using Clock = std::chrono::steady_clock;

/// logind has one file here for each lock.
constexpr const char* lockFolder = "/run/systemd/inhibit";

constexpr int patience = 30'000;

[[noreturn]] void throwErrno(const char* attempt) {
    throw std::system_error(errno, std::generic_category(), attempt);
}

/// A command whose output this program reads, to the end.
class Command {
public:
    explicit Command(char** words) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throwErrno("make a pipe");
        }
        output = FileDescriptor(ends[0]);
        const FileDescriptor writeEnd(ends[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, writeEnd.get());
        posix_spawn_file_actions_addclose(&actions, output.get());
        const int error = posix_spawnp(&child, words[0], &actions, nullptr, words, environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), words[0]);
        }
    }

    void readAll() const {
        std::array<char, 4096> buffer{};
        while (read(output.get(), buffer.data(), buffer.size()) > 0) {
        }
    }

    void end() const { kill(child, SIGTERM); }

    bool hasSucceeded() const {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    FileDescriptor output;
    pid_t child = -1;
};

Clock::duration untilExit(char** words) {
    const auto start = Clock::now();
    const Command command(words);
    command.readAll();
    if (!command.hasSucceeded()) {
        throw std::runtime_error("the command has failed");
    }
    return Clock::now() - start;
}

/// Sees one kind of change in the folder of logind's locks.
class LockWatch {
public:
    explicit LockWatch(std::uint32_t change) : folder(inotify_init1(IN_CLOEXEC)) {
        if (!folder || inotify_add_watch(folder.get(), lockFolder, change) < 0) {
            throwErrno("watch the folder of logind's locks");
        }
    }

    void waitForChange() const {
        pollfd waited{.fd = folder.get(), .events = POLLIN, .revents = 0};
        if (poll(&waited, 1, patience) != 1) {
            throw std::runtime_error("no lock has come or gone");
        }
    }

private:
    FileDescriptor folder;
};

Clock::duration untilLock(char** words) {
    const LockWatch locks(IN_CREATE);
    const auto start = Clock::now();
    const Command command(words);
    locks.waitForChange();
    const auto end = Clock::now();
    command.end();
    command.readAll();
    static_cast<void>(command.hasSucceeded()); // it was ended by a signal
    return end - start;
}

Clock::duration untilUnlock(const std::string& text) {
    pid_t process = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), process).ec != std::errc{} || process <= 1) {
        throw std::invalid_argument("not a process id: " + text);
    }
    const LockWatch locks(IN_DELETE);
    const auto start = Clock::now();
    if (kill(process, SIGKILL) != 0) {
        throwErrno("end a process");
    }
    locks.waitForChange();
    return Clock::now() - start;
}

Clock::duration measure(std::string_view what, char** words) {
    if (what == "exit") {
        return untilExit(words);
    }
    if (what == "lock") {
        return untilLock(words);
    }
    if (what == "unlock") {
        return untilUnlock(words[0]);
    }
    throw std::invalid_argument("unknown: " + std::string(what));
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    if (count < 3) {
        fmt::print(stderr, "usage: stopwatch exit|lock COMMAND..., or stopwatch unlock PID\n");
        return 64;
    }
    try {
        const auto time = tavo::measure(values[1], values + 2);
        fmt::print("{:.0f}\n", std::chrono::duration<double, std::micro>(time).count());
    } catch (const std::exception& error) {
        fmt::print(stderr, "stopwatch: {}\n", error.what());
        return 1;
    }
}
