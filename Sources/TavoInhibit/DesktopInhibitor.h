#pragma once

#include "TavoInhibit/DesktopService.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

namespace tavo {

/// The waits for the desktop.
struct DesktopPatience {
    /// Before a service that owns its name without having its object yet is asked again; doubled each time. With seven
    /// times, the last is half a minute after the first.
    std::chrono::microseconds firstPause = std::chrono::milliseconds{250};
    int retries = 7;
    /// Before it counts that no service accepted: one that is only just found must not make a notice flash up.
    std::chrono::microseconds whileNobodyAnswers = std::chrono::seconds{1};
    /// The same while one of them has yet to answer.
    std::chrono::microseconds whileUndecided = std::chrono::seconds{30};

    /// Before the retry of this number, from 0.
    std::chrono::microseconds pauseBefore(int retry) const { return firstPause * (1 << retry); }
};

/// One desktop service on one bus connection: follows the owner of its name, asks, and releases.
///
/// Never waits: every call is asynchronous, goes to the owner itself, and may not start anybody. A request belongs to
/// the owner that took it and ends with that owner, so each new owner is a fresh start.
class DesktopInhibitor {
public:
    enum class State {
        /// Nobody owns the name, as far as is known.
        absent,
        /// An owner that was not asked, or whose request was ended.
        present,
        /// Asked, maybe more than once; no answer yet.
        pending,
        /// It took the request, and has yet to say whether it honours it.
        unconfirmed,
        /// It took the request.
        holding,
        /// It answered with an error, or not in time. It is not asked again.
        refused,
    };

    /// Starts following the name.
    /// @param changed is called from the event loop after each change of state that came from the bus.
    /// @throws std::system_error when the connection cannot send.
    DesktopInhibitor(sd_bus& bus, const DesktopService& service, Report& report, const DesktopPatience& patience,
                     std::function<void()> changed);
    DesktopInhibitor(const DesktopInhibitor&) = delete;
    DesktopInhibitor& operator=(const DesktopInhibitor&) = delete;

    State state() const { return current; }
    bool isLastResort() const { return service.isLastResort; }

    /// Asks the owner if there is one that was not asked.
    void ask();

    /// Ends the request. One that has no answer yet is ended when the answer comes.
    void release();

    /// The connection ended, and with it the request.
    void busEnded();

private:
    void follow();
    void ownerIs(const char* newOwner);
    void sendRequest();
    void answer(sd_bus_message& reply);
    bool askLater();
    void accept();
    void confirm(int response);
    void refuse(const std::string& reason);
    void sendRelease();
    void post(AssertionReportState state, std::string notice = {});
    static int onOwner(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;
    static int onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* ignored) noexcept;
    static int onAnswer(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;
    static int onResponse(sd_bus_message* signal, void* self, sd_bus_error* ignored) noexcept;
    static int onRetry(sd_event_source* source, std::uint64_t now, void* self) noexcept;

    sd_bus& bus;
    const DesktopService& service;
    Report& report;
    DesktopPatience patience;
    std::function<void()> changed;
    State current = State::absent;
    bool wanted = false;
    int failedAttempts = 0;
    std::string owner;
    InhibitToken token;
    /// By the request's path, those that came before the reply that names it.
    std::map<std::string, int> earlyResponses;
    BusSlot ownerChanges;
    BusSlot ownerReply;
    BusSlot pendingAnswer;
    BusSlot responses;
    EventSource retry;
};

} // namespace tavo
