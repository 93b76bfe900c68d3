#include "TavoInhibit/UserDesktop.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace tavo {
namespace {

/// As logind knows it. A program that the user's service manager started belongs to no session, so the user is asked for.
bool hasGraphicalSession(uid_t user) {
    char* session = nullptr;
    if (sd_uid_get_display(user, &session) < 0) {
        return false;
    }
    char* type = nullptr;
    const auto result = sd_session_get_type(session, &type);
    const std::string_view name = result >= 0 ? type : "";
    const auto isGraphical = name == "x11" || name == "wayland" || name == "mir";
    std::free(type);    // NOLINT(cppcoreguidelines-no-malloc): sd-login gives it from malloc
    std::free(session); // NOLINT(cppcoreguidelines-no-malloc): likewise
    return isGraphical;
}

} // namespace

bool isOrdinaryUserOfDesktop() {
    // The environment tells of a desktop that was started from a text login, which logind does not know to be graphical.
    return ::geteuid() != 0 && (namesLocalDisplay(std::getenv("WAYLAND_DISPLAY"), std::getenv("DISPLAY")) ||
                                hasGraphicalSession(::geteuid()));
}

bool namesLocalDisplay(const char* wayland, const char* x11) {
    if (wayland != nullptr && *wayland != '\0') {
        return true;
    }
    // X(7): without a host, or with the host "unix", it is this computer's; ssh's forwarding says "localhost:10".
    const std::string_view display = x11 == nullptr ? "" : x11;
    return display.starts_with(":") || display.starts_with("unix:");
}

} // namespace tavo
