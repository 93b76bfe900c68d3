#include "system/BusAddresses.h"

#include <cstdlib>

namespace tavo {

namespace {

/// No transport has this name, so connecting fails; without any address the libraries would look for a bus by
/// themselves.
constexpr const char* noBus = "disabled:";

constexpr auto sessionVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr auto accessibilityVariable = "AT_SPI_BUS_ADDRESS"; // asked for on the session's bus when it is not set
constexpr auto systemVariable = "DBUS_SYSTEM_BUS_ADDRESS";

void restrict(const char* variable) {
    if (const char* const address = std::getenv(variable); address != nullptr && *address != '\0') {
        const auto sockets = unixBusAddresses(address);
        setenv(variable, sockets.empty() ? noBus : sockets.c_str(), 1);
    }
}

} // namespace

void restrictBusAddresses(uid_t user) {
    if (user == 0) {
        setenv(sessionVariable, noBus, 1);
        unsetenv(accessibilityVariable);
    } else {
        restrict(sessionVariable);
        restrict(accessibilityVariable);
    }
    restrict(systemVariable);
}

} // namespace tavo
