#pragma once

#include "Support/ScriptedBusService.h"

#include <string>
#include <vector>

namespace tavo {

/// Stands in for logind: hands out locks, each a pipe as logind's are, and sees when the other end is closed.
class ScriptedLogind {
public:
    ScriptedLogind(BusPump& pump, const std::string& systemBusAddress);
    ~ScriptedLogind();
    ScriptedLogind(const ScriptedLogind&) = delete;
    ScriptedLogind& operator=(const ScriptedLogind&) = delete;

    /// Answers a request whose `what` holds this word with an error instead of a lock.
    void refuse(const std::string& word, const std::string& errorName, const std::string& message);
    void stayAvailableButSilent() { service.answer("Inhibit", ScriptedBusService::never()); }
    void answerWithNonsense() { service.answer("Inhibit", ScriptedBusService::withCookie(7)); }

    const std::vector<ScriptedBusService::Call>& calls() const { return service.calls(); }

    /// How many locks are held now.
    std::size_t heldLocks();

private:
    struct Refusal {
        std::string word;
        std::string errorName;
        std::string message;
    };

    int inhibit(sd_bus_message* call);

    ScriptedBusService service;
    std::vector<Refusal> refusals;
    std::vector<int> locks;
};

} // namespace tavo
