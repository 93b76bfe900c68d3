#pragma once

#include "TavoInhibit/BusHandles.h"
#include "base/FileDescriptor.h"

#include <functional>
#include <string>

namespace tavo {

/// A block lock of logind (org.freedesktop.login1.Manager.Inhibit, org.freedesktop.login1(5)), held until destroyed.
///
/// The lock is the write end of a pipe that logind reads: it outlives the connection it was asked on, a restart of
/// logind and the system bus itself. So the connection is closed once the answer is there.
class LogindLock {
public:
    /// The answer.
    struct Outcome {
        /// "idle" or "idle:sleep"; empty when nothing is held.
        std::string held;
        /// The part of the request that was refused; or, with nothing held, the reason. A lower-case sentence, or
        /// empty.
        std::string text;
    };

    /// Asks for `idle`, with `sleep` also for that, in which case `idle` alone is asked for when both are refused.
    ///
    /// @param answered  is called once, from the event loop: within 1.5 seconds, whatever the bus and logind do.
    /// @throws std::system_error when the event loop cannot be used.
    LogindLock(sd_event& event, bool sleep, std::function<void(const Outcome&)> answered);
    LogindLock(const LogindLock&) = delete;
    LogindLock& operator=(const LogindLock&) = delete;

private:
    void ask();
    void takeLock(sd_bus_message& reply);
    void finish(std::string held, std::string text);
    static int onStart(sd_event_source* source, void* self) noexcept;
    static int onReply(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;
    static int onDeadline(sd_event_source* source, std::uint64_t now, void* self) noexcept;

    sd_event& event;
    std::function<void(const Outcome&)> answered;
    bool asksForSleep;
    bool sleepWasRefused = false;
    FileDescriptor lock;
    Bus bus;
    BusSlot pendingReply;
    EventSource start;
    EventSource deadline;
};

} // namespace tavo
