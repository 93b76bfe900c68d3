#pragma once

#include "config/InstanceLock.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace tavo {

/// A process of the test's own that holds the lock of the one Tavo, for as long as this lives.
class LockHolder {
public:
    explicit LockHolder(const std::filesystem::path& lockFile) {
        std::array<int, 2> stop{};
        std::array<int, 2> ready{};
        if (pipe(stop.data()) != 0 || pipe(ready.data()) != 0) {
            throw std::runtime_error("no pipe could be made");
        }
        child = fork();
        if (child == 0) {
            close(stop[1]);
            const auto lock = InstanceLock::acquire(lockFile);
            char unit = 0;
            if (lock && write(ready[1], &unit, 1) == 1) {
                [[maybe_unused]] const auto end = read(stop[0], &unit, 1);
            }
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
    void end() const {
        close(stopEnd);
        waitpid(child, nullptr, 0);
    }

    pid_t child = -1;
    int stopEnd = -1;
};

} // namespace tavo
