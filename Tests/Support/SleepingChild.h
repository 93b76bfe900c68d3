#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace tavo {

/// A process of the test's own that lives until it is ended.
class SleepingChild {
public:
    SleepingChild() : pid(fork()) {
        if (pid == 0) {
            pause();
            _exit(0);
        }
    }
    SleepingChild(const SleepingChild&) = delete;
    SleepingChild& operator=(const SleepingChild&) = delete;
    ~SleepingChild() {
        end();
        reap();
    }

    /// Waits for its end. It is not reaped, so that no other process gets its number.
    void end() const {
        if (!isReaped) {
            kill(pid, SIGKILL);
            siginfo_t info{};
            waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
        }
    }

    void reap() {
        if (!std::exchange(isReaped, true)) {
            waitpid(pid, nullptr, 0);
        }
    }

    const pid_t pid;

private:
    bool isReaped = false;
};

} // namespace tavo
