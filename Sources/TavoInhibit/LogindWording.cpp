#include "TavoInhibit/LogindWording.h"

#include "TavoInhibit/Wording.h"

#include <cstring>
#include <string_view>

namespace tavo {
namespace {

constexpr std::string_view advice = "; tavoctl doctor says what to do";

/// The bus knows no logind, or could not start one: the errors of D-Bus activation, and systemd's own for units.
bool meansNoLogind(const sd_bus_error& error) {
    const std::string_view name = error.name;
    return name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
           name.starts_with("org.freedesktop.DBus.Error.Spawn.") || name.starts_with("org.freedesktop.systemd1.");
}

std::string messageOf(const sd_bus_error& error) {
    return quotedMessage(error.message != nullptr && std::strlen(error.message) > 0 ? error.message : error.name);
}

} // namespace

bool isAccessDenied(const sd_bus_error& error) {
    return sd_bus_error_has_name(&error, SD_BUS_ERROR_ACCESS_DENIED) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED) != 0;
}

std::string sleepRefusedNotice() {
    return "sleep was refused (access denied): another session, such as the login screen, may still put the computer "
           "to "
           "sleep; run sudo tavoctl run to hold it too";
}

std::string refusalSentence(const sd_bus_error& error) {
    if (isAccessDenied(error)) {
        return "logind refused the lock (access denied): without polkit only root may hold locks, so run "
               "sudo tavoctl run";
    }
    if (meansNoLogind(error)) {
        return "no logind is running (" + messageOf(error) + "), and without it nothing can keep this computer awake" +
               std::string(advice);
    }
    return "logind refused the lock (" + messageOf(error) + ")" + std::string(advice);
}

std::string unreachableSystemBusSentence(int error) {
    return "the system bus cannot be reached (" + quotedError(error) +
           "), and without it and logind nothing can keep this computer awake" + std::string(advice);
}

std::string lostSystemBusSentence() {
    return "the system bus ended the connection before logind had answered" + std::string(advice);
}

std::string silentLogindSentence() {
    return "logind gave no answer in time, so the computer is not kept awake" + std::string(advice);
}

} // namespace tavo
