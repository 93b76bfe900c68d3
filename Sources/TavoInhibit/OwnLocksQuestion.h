#pragma once

#include "TavoInhibit/BusHandles.h"

#include <functional>
#include <string_view>

namespace tavo {

/// Whether logind of this version of systemd lets a block lock hold back the requests of the lock's own user too
/// (systemd's NEWS for 257). A version that is not understood counts as older.
bool heedsOwnLocks(std::string_view systemdVersion);

/// Asks the service manager for its version, which is logind's too.
///
/// Where something else runs the system, nobody answers: a logind without systemd is built from older ones, and a
/// warning too many does less harm than one too few.
class OwnLocksQuestion {
public:
    /// @param answered  is called once with whether a user's own locks are heeded: from the event loop, or at once when
    ///        there is nobody to ask. Must not destroy the question.
    OwnLocksQuestion(sd_event& event, std::function<void(bool areHeeded)> answered);
    OwnLocksQuestion(const OwnLocksQuestion&) = delete;
    OwnLocksQuestion& operator=(const OwnLocksQuestion&) = delete;

private:
    void ask(sd_event& event);
    static int onReply(sd_bus_message* reply, void* self, sd_bus_error* ignored) noexcept;

    std::function<void(bool areHeeded)> answered;
    Bus bus;
    BusSlot pendingReply;
};

/// Whether a desktop of the calling user may ask logind to suspend: an ordinary user who has a graphical session, be it
/// this one or, for a login from afar, the one on this computer's screen. Root's locks hold everybody back.
bool isOrdinaryUserOfDesktop();

/// Whether these values of WAYLAND_DISPLAY and DISPLAY, or null, name a screen of this computer.
bool namesLocalDisplay(const char* wayland, const char* x11);

} // namespace tavo
