#pragma once

#include "helper/ProcessWatching.h"

#include <cerrno>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace tavo {

/// Processes that start and end when the test says so.
class ScriptedProcessWatching final : public ProcessWatching {
public:
    void start(const ProcessIdentity& process) { living.insert(process); }

    /// Ends a process, and says so to who watches it.
    void end(const ProcessIdentity& process) {
        living.erase(process);
        while (!watches->empty()) {
            const auto watch = watches->find(process);
            if (watch == watches->end()) {
                return;
            }
            const auto onExit = watch->second;
            watches->erase(watch);
            onExit();
        }
    }

    bool isWatched(const ProcessIdentity& process) const { return watches->contains(process); }

    std::optional<ProcessIdentity> identify(pid_t pid) const override {
        for (const auto& process : living) {
            if (process.pid == pid) {
                return process;
            }
        }
        return std::nullopt;
    }

    std::unique_ptr<ProcessWatch> watchExit(const ProcessIdentity& process, std::function<void()> onExit) override {
        if (unwatchable == process) {
            throw std::system_error(EMFILE, std::generic_category(), "could not watch");
        }
        if (!living.contains(process)) {
            return nullptr;
        }
        watches->insert_or_assign(process, std::move(onExit));
        return std::make_unique<Watch>(watches, process);
    }

    /// Cannot be watched, though it lives.
    std::optional<ProcessIdentity> unwatchable;

private:
    using Watches = std::map<ProcessIdentity, std::function<void()>>;

    class Watch final : public ProcessWatch {
    public:
        Watch(std::shared_ptr<Watches> watches, const ProcessIdentity& process)
            : watches(std::move(watches)), process(process) {}
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch() override { watches->erase(process); }

    private:
        std::shared_ptr<Watches> watches;
        ProcessIdentity process;
    };

    std::set<ProcessIdentity> living;
    std::shared_ptr<Watches> watches = std::make_shared<Watches>();
};

} // namespace tavo
