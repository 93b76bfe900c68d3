// A child for the tests of the command runner: does what its first argument says, and reports on itself.

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

/// Writes the number of bytes alternately to both streams, in pieces larger than a pipe takes at once.
int flood(std::size_t bytes) {
    const std::string piece(100000, 'x');
    for (std::size_t written = 0; written < bytes; written += piece.size()) {
        std::fwrite(piece.data(), 1, piece.size(), stdout);
        std::fwrite(piece.data(), 1, piece.size(), stderr);
    }
    return 0;
}

int listDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int end = limit.rlim_cur < 65536 ? static_cast<int>(limit.rlim_cur) : 65536;
    for (int descriptor = 0; descriptor < end; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            std::printf("%d ", descriptor);
        }
    }
    return 0;
}

int listBlockedSignals() {
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int number = 1; number < 32; ++number) {
        if (sigismember(&blocked, number) == 1) {
            std::printf("%d ", number);
        }
    }
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    std::printf("%s", action.sa_handler == SIG_DFL ? "pipe-default" : "pipe-ignored");
    return 0;
}

/// Ends the first thread and leaves another one, which ends the process at the end of its input.
int leaveThread() {
    pthread_t thread{};
    const int error = pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
            char byte = 0;
            while (read(STDIN_FILENO, &byte, 1) > 0) {
            }
            std::_Exit(0);
        },
        nullptr);
    if (error != 0) {
        return error;
    }
    pthread_exit(nullptr);
}

int waitForSignal() {
    for (;;) {
        pause();
    }
}

} // namespace

int main(int count, char** values) {
    const std::string what = count > 1 ? values[1] : "";
    const std::string argument = count > 2 ? values[2] : "";
    if (what == "flood") {
        return flood(std::strtoul(argument.c_str(), nullptr, 10));
    }
    if (what == "descriptors") {
        return listDescriptors();
    }
    if (what == "signals") {
        return listBlockedSignals();
    }
    if (what == "exit") {
        return static_cast<int>(std::strtol(argument.c_str(), nullptr, 10));
    }
    if (what == "die") {
        return raise(static_cast<int>(std::strtol(argument.c_str(), nullptr, 10)));
    }
    if (what == "leave-a-thread") {
        return leaveThread();
    }
    if (what == "wait") {
        return waitForSignal();
    }
    if (what == "print") {
        std::fwrite(argument.data(), 1, argument.size(), stdout);
        return 0;
    }
    if (what == "arguments") {
        for (int index = 2; index < count; ++index) {
            std::printf("[%s]", values[index]);
        }
        return 0;
    }
    return 64;
}
