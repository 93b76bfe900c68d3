#pragma once

#include "config/InstanceLock.h"

#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <string>

namespace tavo {

/// A process of the test's own that holds the lock of the one Tavo, for as long as this lives.
class LockHolder {
public:
    /// @param onSignal  called in that process whenever it gets SIGUSR1.
    explicit LockHolder(const std::filesystem::path& lockFile, const std::string& note = {},
                        const std::function<void()>& onSignal = {}) {
        std::array<int, 2> stop{};
        std::array<int, 2> ready{};
        if (pipe(stop.data()) != 0 || pipe(ready.data()) != 0) {
            throw std::runtime_error("no pipe could be made");
        }
        child = fork();
        if (child == 0) {
            close(stop[1]);
            holdUntilClosed(lockFile, note, onSignal, ready[1], stop[0]);
            _exit(0);
        }
        close(stop[0]);
        close(ready[1]);
        stopEnd = stop[1];
        char unit = 0;
        const bool isHeld = read(ready[0], &unit, 1) == 1;
        close(ready[0]);
        if (!isHeld) {
            end();
            throw std::runtime_error("the lock could not be held");
        }
    }
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;
    ~LockHolder() { end(); }

    pid_t pid() const { return child; }

private:
    static void holdUntilClosed(const std::filesystem::path& lockFile, const std::string& note,
                                const std::function<void()>& onSignal, int ready, int stop) {
        // Outside of pselect() the signal is blocked, so that none is missed.
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR1);
        sigset_t whileWaiting;
        sigprocmask(SIG_BLOCK, &blocked, &whileWaiting);
        std::signal(SIGUSR1, [](int) {});
        const auto lock = InstanceLock::acquire(lockFile, note);
        const char unit = 0;
        if (!lock || write(ready, &unit, 1) != 1) {
            return;
        }
        while (true) {
            fd_set waited;
            FD_ZERO(&waited);
            FD_SET(stop, &waited);
            if (pselect(stop + 1, &waited, nullptr, nullptr, nullptr, &whileWaiting) >= 0) {
                return;
            }
            // Interrupted, and there is one signal that does that.
            if (onSignal) {
                onSignal();
            }
        }
    }

    void end() const {
        close(stopEnd);
        waitpid(child, nullptr, 0);
    }

    pid_t child = -1;
    int stopEnd = -1;
};

} // namespace tavo
