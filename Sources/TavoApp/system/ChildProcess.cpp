#include "system/ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

// POSIX leaves the declaration to the program, environ(7).
extern char** environ; // NOLINT(readability-redundant-declaration): glibc declares it for GNU programs only

namespace tavo {

namespace {

void check(int error, const std::string& what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

/// Moves a descriptor above the standard ones, so that placing one stream in the child cannot overwrite another.
FileDescriptor aboveStandardStreams(FileDescriptor original) {
    if (original.get() > STDERR_FILENO) {
        return original;
    }
    FileDescriptor moved(fcntl(original.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    check(moved ? 0 : errno, "could not make a pipe");
    return moved;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        check(makeClosingPipe(ends) ? 0 : errno, "could not make a pipe");
        FileDescriptor first(ends[0]);
        FileDescriptor second(ends[1]);
        reading = aboveStandardStreams(std::move(first));
        writing = aboveStandardStreams(std::move(second));
    }
    FileDescriptor reading;
    FileDescriptor writing;
};

struct SpawnSettings {
    SpawnSettings() {
        check(posix_spawn_file_actions_init(&actions), "could not prepare a child");
        const int error = posix_spawnattr_init(&attributes);
        if (error != 0) {
            posix_spawn_file_actions_destroy(&actions);
        }
        check(error, "could not prepare a child");
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }

    void place(const FileDescriptor& descriptor, int target) {
        check(posix_spawn_file_actions_adddup2(&actions, descriptor.get(), target), "could not prepare a child");
    }

    void resetSignals() {
        sigset_t none;
        sigemptyset(&none);
        check(posix_spawnattr_setsigmask(&attributes, &none), "could not prepare a child");
        // Tavo ignores SIGPIPE for itself only; a SIGHUP that nohup ignored stays ignored in children too.
        sigset_t defaulted;
        sigemptyset(&defaulted);
        sigaddset(&defaulted, SIGPIPE);
        check(posix_spawnattr_setsigdefault(&attributes, &defaulted), "could not prepare a child");
        addFlags(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    void startOwnProcessGroup() {
        check(posix_spawnattr_setpgroup(&attributes, 0), "could not prepare a child");
        addFlags(POSIX_SPAWN_SETPGROUP);
    }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};

private:
    void addFlags(int added) {
        short flags = 0;
        check(posix_spawnattr_getflags(&attributes, &flags), "could not prepare a child");
        check(posix_spawnattr_setflags(&attributes, static_cast<short>(flags | added)), "could not prepare a child");
    }
};

std::vector<char*> argumentVector(const ShellCommand& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.arguments.size() + 2);
    // posix_spawn(3) takes pointers to non-const and writes through none of them.
    arguments.push_back(const_cast<char*>(command.executableURL.c_str()));
    for (const auto& argument : command.arguments) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

std::int32_t exitCodeOf(int status) {
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

SpawnedChild spawnChild(const ShellCommand& command, ChildInput input) {
    std::optional<Pipe> inputPipe;
    if (input == ChildInput::pipe) {
        inputPipe.emplace();
    }
    Pipe output;
    Pipe error;
    SpawnSettings settings;
    if (inputPipe) {
        settings.place(inputPipe->reading, STDIN_FILENO);
    }
    settings.place(output.writing, STDOUT_FILENO);
    settings.place(error.writing, STDERR_FILENO);
    settings.resetSignals();
    if (command.startsOwnProcessGroup) {
        settings.startOwnProcessGroup();
    }
    closeOtherDescriptors(settings.actions, settings.attributes);

    auto arguments = argumentVector(command);
    SpawnedChild child;
    check(posix_spawn(&child.pid, command.executableURL.c_str(), &settings.actions, &settings.attributes,
                      arguments.data(), environ),
          "could not run " + command.executableURL.string());
    if (inputPipe) {
        child.input = std::move(inputPipe->writing);
    }
    child.output = std::move(output.reading);
    child.error = std::move(error.reading);
    return child;
}

ShellCommand inOwnProcessGroup(ShellCommand command) {
    command.startsOwnProcessGroup = true;
    return command;
}

std::int32_t waitForExit(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        check(errno == EINTR ? 0 : errno, "could not wait for a child");
    }
    return exitCodeOf(status);
}

std::shared_ptr<ReapedChild> ReapedChild::adopt(pid_t pid) {
    try {
        std::shared_ptr<ReapedChild> child(new ReapedChild(pid));
        std::thread([child] { child->reapAtExit(); }).detach();
        return child;
    } catch (...) {
        ::kill(pid, SIGKILL);
        tavo::waitForExit(pid);
        throw;
    }
}

void ReapedChild::reapAtExit() {
    // The child is first waited for without reaping it: under the lock nobody may be sending it a signal meanwhile.
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(processID), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    std::vector<std::function<void()>> toCall;
    {
        const std::lock_guard lock(mutex);
        int status = 0;
        waitpid(processID, &status, 0);
        exitCode = exitCodeOf(status);
        ended.notify_all();
        toCall.swap(callbacks);
    }
    for (const auto& work : toCall) {
        work();
    }
}

void ReapedChild::onEnd(std::function<void()> work) {
    {
        const std::lock_guard lock(mutex);
        if (!exitCode) {
            callbacks.push_back(std::move(work));
            return;
        }
    }
    work();
}

bool ReapedChild::isRunning() const {
    const std::lock_guard lock(mutex);
    if (exitCode) {
        return false;
    }
    // The reaping thread may not have run yet for a child that is already dead.
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(processID), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

void ReapedChild::send(int signal) noexcept {
    const std::lock_guard lock(mutex);
    if (!exitCode) {
        ::kill(processID, signal);
    }
}

std::optional<std::int32_t> ReapedChild::waitForExit(std::chrono::milliseconds bound) const {
    std::unique_lock lock(mutex);
    ended.wait_for(lock, bound, [this] { return exitCode.has_value(); });
    return exitCode;
}

} // namespace tavo
