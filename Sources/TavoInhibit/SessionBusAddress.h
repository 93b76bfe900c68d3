#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavo {

/// Where the user's session bus is.
struct SessionBusAddress {
    /// A D-Bus server address, as sd_bus_set_address(3) takes it ("unix:path=/run/user/1000/bus").
    std::string address;
    /// The bus's socket, when the address names one that can be watched for: an abstract socket, TCP and the like cannot.
    std::optional<std::filesystem::path> socket;

    bool operator==(const SessionBusAddress&) const = default;
};

/// Finds the session bus from the values of DBUS_SESSION_BUS_ADDRESS and XDG_RUNTIME_DIR (null when not set).
///
/// With several addresses in the variable, the first that names a socket is taken alone. Its server's id is left out: a
/// bus that comes back on the same socket has another one, and would be refused for it.
///
/// @returns nothing when neither variable says where.
std::optional<SessionBusAddress> findSessionBus(const char* busAddress, const char* runtimeFolder);

} // namespace tavo
