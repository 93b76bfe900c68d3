#include "TavoInhibit/DesktopService.h"

namespace tavo {

namespace {

constexpr auto requestReason = "Keeping the computer awake as you asked";

/// gnome-session: 4 inhibits suspending; 8, marking the session idle, would keep the screen lit as well.
constexpr std::uint32_t gnomeSuspend = 4;
/// org.freedesktop.portal.Inhibit: 1 logout, 2 user switch, 4 suspend, 8 idle.
constexpr std::uint32_t portalSuspend = 4;

/// A desktop that is still starting may take its time; after this long the portal is worth asking.
constexpr std::chrono::microseconds answerBound = std::chrono::seconds{25};

constexpr auto mayStillSuspend =
    ": the desktop may suspend the computer by itself, so switch off automatic suspend in its power settings";

int appendGnomeRequest(sd_bus_message* call) {
    // The second argument is our window on X11; there is none.
    return sd_bus_message_append(call, "susu", inhibitorName, std::uint32_t{0}, requestReason, gnomeSuspend);
}

int appendPowerManagementRequest(sd_bus_message* call) {
    return sd_bus_message_append(call, "ss", inhibitorName, requestReason);
}

int appendPortalRequest(sd_bus_message* call) {
    return sd_bus_message_append(call, "sua{sv}", "", portalSuspend, 1, "reason", "s", requestReason);
}

int readCookie(sd_bus_message* reply, InhibitToken& token) {
    return sd_bus_message_read(reply, "u", &token.cookie);
}

int readRequestPath(sd_bus_message* reply, InhibitToken& token) {
    const char* path = nullptr;
    const auto result = sd_bus_message_read(reply, "o", &path);
    if (result > 0) {
        token.requestPath = path;
    }
    return result;
}

int makeCookieRelease(sd_bus& bus, const char* owner, const DesktopService& service, const char* method,
                      const InhibitToken& token, BusMessage& call) {
    const auto result =
        sd_bus_message_new_method_call(&bus, Receive(call), owner, service.path, service.interface, method);
    return result < 0 ? result : sd_bus_message_append(call.get(), "u", token.cookie);
}

int makeGnomeRelease(sd_bus& bus, const char* owner, const DesktopService& service, const InhibitToken& token,
                     BusMessage& call) {
    return makeCookieRelease(bus, owner, service, "Uninhibit", token, call);
}

int makePowerManagementRelease(sd_bus& bus, const char* owner, const DesktopService& service, const InhibitToken& token,
                               BusMessage& call) {
    return makeCookieRelease(bus, owner, service, "UnInhibit", token, call);
}

int makePortalRelease(sd_bus& bus, const char* owner, const DesktopService&, const InhibitToken& token,
                      BusMessage& call) {
    return sd_bus_message_new_method_call(&bus, Receive(call), owner, token.requestPath.c_str(),
                                          "org.freedesktop.portal.Request", "Close");
}

} // namespace

const std::array<DesktopService, 3>& desktopServices() {
    static constexpr std::array<DesktopService, 3> services{{
        {AssertionService::gnome, "org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager",
         false, false, answerBound, "session manager", appendGnomeRequest, readCookie, makeGnomeRelease},
        {AssertionService::powerManagement, "org.freedesktop.PowerManagement",
         "/org/freedesktop/PowerManagement/Inhibit", "org.freedesktop.PowerManagement.Inhibit", false, false,
         answerBound, "power manager", appendPowerManagementRequest, readCookie, makePowerManagementRelease},
        // Nothing waits for the portal's answer, which may take minutes; it is a request all the same when it comes.
        {AssertionService::portal, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
         "org.freedesktop.portal.Inhibit", true, true, std::nullopt, "portal", appendPortalRequest, readRequestPath,
         makePortalRelease},
    }};
    return services;
}

std::string refusedByDesktopNotice(const DesktopService& service, const std::string& reason) {
    return std::string("the desktop's ") + service.noun + " refused (" + reason + ")" + mayStillSuspend;
}

std::string nobodyAcceptedNotice() {
    return std::string("no service of this desktop has taken the request to stay awake, and logind before systemd 257 "
                       "ignores a lock when its own user asks to suspend") +
           mayStillSuspend;
}

} // namespace tavo
