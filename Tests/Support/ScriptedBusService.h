#pragma once

#include "Support/BusPump.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tavo {

/// A service on a bus that answers as the test says, and records how it was called.
class ScriptedBusService {
public:
    struct Call {
        std::string path;
        std::string interface;
        std::string member;
        /// As `"text", 7, {"key": "value"}`.
        std::string arguments;
        /// Whether the caller let the bus start a service for it.
        bool mayStartService = true;

        bool operator==(const Call&) const = default;
    };

    /// Answers a call by sending a reply, or leaves it unanswered. @returns a negative errno to have sd-bus answer so.
    using Answer = std::function<int(sd_bus_message* call)>;

    /// Connects. Calls are served while `pump` runs. @throws std::system_error
    ScriptedBusService(BusPump& pump, const std::string& address);
    ScriptedBusService(const ScriptedBusService&) = delete;
    ScriptedBusService& operator=(const ScriptedBusService&) = delete;

    /// Takes a name, also from an owner who allows that. @throws std::system_error when it cannot be had.
    void own(const std::string& name, bool letOthersTakeIt = false);
    void disown(const std::string& name);

    /// The answer to every call of a method of this name, at any path and interface.
    void answer(const std::string& member, Answer answer) { answers[member] = std::move(answer); }

    /// The calls so far, in order.
    const std::vector<Call>& calls() const { return recorded; }

    /// Ready answers.
    static Answer withCookie(std::uint32_t cookie);
    static Answer withPath(const std::string& path);
    static Answer withNothing();
    static Answer withError(const std::string& name, const std::string& message);
    static Answer never();

private:
    static int onCall(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;

    Bus bus;
    BusSlot handler;
    std::map<std::string, Answer> answers;
    std::vector<Call> recorded;
};

} // namespace tavo
