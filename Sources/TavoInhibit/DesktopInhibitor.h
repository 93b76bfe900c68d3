#pragma once

#include "TavoInhibit/DesktopService.h"

#include <functional>

namespace tavo {

/// One desktop service on one bus connection: follows who owns its name, asks, and lets go.
///
/// Never waits: every call is asynchronous, goes to the owner itself, and may not start anybody. A request belongs to the
/// owner that took it and ends with that owner, so each new owner is a fresh start.
class DesktopInhibitor {
public:
    enum class State {
        /// Nobody owns the name, as far as is known.
        absent,
        /// An owner that was not asked, or whose request was ended.
        present,
        /// Asked; no answer yet.
        pending,
        /// It took the request.
        holding,
        /// It answered with an error, or not in time. It is not asked again.
        refused,
    };

    /// Starts following the name.
    /// @param changed is called from the event loop after each change of state that came from the bus.
    /// @throws std::system_error when the connection cannot send.
    DesktopInhibitor(sd_bus& bus, const DesktopService& service, Report& report, std::function<void()> changed);
    DesktopInhibitor(const DesktopInhibitor&) = delete;
    DesktopInhibitor& operator=(const DesktopInhibitor&) = delete;

    State state() const { return current; }
    bool isLastResort() const { return service.isLastResort; }

    /// Asks the owner if there is one that was not asked.
    void ask();

    /// Ends the request. One that has no answer yet is ended when the answer comes.
    void release();

    /// Tells that the connection ended, and with it the request.
    void busEnded();

private:
    void follow();
    void ownerIs(const char* newOwner);
    int sendRequest();
    void answer(sd_bus_message& reply);
    void refuse(const std::string& reason);
    void sendRelease();
    void post(InhibitState state, std::string notice = {});
    static int onOwner(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;
    static int onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* ignored) noexcept;
    static int onAnswer(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;

    sd_bus& bus;
    const DesktopService& service;
    Report& report;
    std::function<void()> changed;
    State current = State::absent;
    bool wanted = false;
    std::string owner;
    InhibitToken token;
    BusSlot ownerChanges;
    BusSlot ownerReply;
    BusSlot pendingAnswer;
};

} // namespace tavo
