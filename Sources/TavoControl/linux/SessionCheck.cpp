#include "TavoControl/linux/SessionCheck.h"

#include <fmt/format.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace tavo {

namespace {

struct Freeing {
    void operator()(char* text) const { std::free(text); } // NOLINT(cppcoreguidelines-no-malloc): sd-login's own
};

/// A text from sd-login, empty when there is none.
std::string text(int (*read)(pid_t, char**)) {
    char* given = nullptr;
    if (read(0, &given) < 0) {
        return "";
    }
    const std::unique_ptr<char, Freeing> owned(given);
    return given;
}

SystemCheck limited(const std::string& finding, const std::string& advice) {
    return {.subject = "session", .verdict = CheckVerdict::limited, .finding = finding, .advice = advice};
}

} // namespace

SessionPlace SessionPlace::ofThisProcess() {
    if (geteuid() == 0) {
        return {.kind = Kind::notAskedAbout};
    }
    const auto session = text(sd_pid_get_session);
    if (session.empty()) {
        const auto unit = text(sd_pid_get_unit);
        return unit.starts_with("user@") ? SessionPlace{.kind = Kind::userManager, .unit = unit} : SessionPlace{};
    }
    if (sd_session_is_remote(session.c_str()) > 0) {
        return {.kind = Kind::remote};
    }
    return {.kind = Kind::local, .isActive = sd_session_is_active(session.c_str()) > 0};
}

SystemCheck checkSession(const SessionPlace& place, bool areLocksGranted) {
    switch (place.kind) {
    case SessionPlace::Kind::notAskedAbout:
        return {.subject = "session", .finding = "root needs none"};
    case SessionPlace::Kind::local:
        return {.subject = "session", .finding = place.isActive ? "local and active" : "local, not active now"};
    case SessionPlace::Kind::remote:
        return limited("this is a remote session",
                       "its lock does not stop another session, or the login screen, from suspending; run sudo tavoctl "
                       "run to prevent that.");
    case SessionPlace::Kind::userManager:
        if (areLocksGranted) {
            return {.subject = "session", .finding = "runs in " + place.unit + ", which is given the locks"};
        }
        break;
    case SessionPlace::Kind::none:
        break;
    }
    return limited("this process belongs to no login session",
                   "another session, or the login screen, may still suspend; run sudo tavoctl run to prevent that.");
}

} // namespace tavo
