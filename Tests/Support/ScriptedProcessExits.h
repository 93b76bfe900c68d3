#pragma once

#include "system/ProcessExits.h"

#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tavo {

/// Processes that have ended when the test says so.
class ScriptedProcessExits final : public ProcessExitNotifying {
public:
    std::unique_ptr<ProcessExitWatch> watch(const std::vector<WatchedProcess>& processes,
                                            std::function<void()> observer) override {
        ++watchesMade;
        if (failure) {
            std::rethrow_exception(failure);
        }
        if (processes.empty() || processes.size() > maxProcesses) {
            return nullptr;
        }
        *watched = processes;
        tellLast = std::move(observer);
        return std::make_unique<Watch>(watched);
    }

    /// Those that are watched now.
    const std::vector<WatchedProcess>& current() const { return *watched; }

    /// Also after the watch has gone, like a notification that was queued by then.
    void tell() const { tellLast(); }

    int watchesMade = 0;

    /// Thrown by watch() while it is set.
    std::exception_ptr failure;

private:
    using Processes = std::shared_ptr<std::vector<WatchedProcess>>;

    class Watch final : public ProcessExitWatch {
    public:
        explicit Watch(Processes watched) : watched(std::move(watched)) {}
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch() override { watched->clear(); }

    private:
        Processes watched;
    };

    Processes watched = std::make_shared<std::vector<WatchedProcess>>();
    std::function<void()> tellLast;
};

} // namespace tavo
