#pragma once

#include "TavoInhibit/SocketWatch.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// Where the user's session bus is.
struct SessionBusAddress {
    /// A D-Bus server address, as sd_bus_set_address(3) takes it ("unix:path=/run/user/1000/bus").
    std::string address;
    /// The bus's socket, when the address names one that can be watched for: an abstract socket, TCP and the like
    /// cannot.
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

/// A user of the session bus.
struct SessionBusClient {
    virtual ~SessionBusClient() = default;

    /// The bus let us in. The connection lives until busEnded() or until the watch is destroyed.
    virtual void busConnected(sd_bus& bus) = 0;

    /// The connection ended; nothing of it may be used after this call.
    virtual void busEnded() = 0;
};

/// Keeps a connection to the session bus: a bus that is not there, or that ends, is waited for.
///
/// Waiting costs nothing until the bus's socket shows a sign of life. Because a socket exists before its server
/// listens, and a server before it lets anybody in, a failed connection is tried again a few times, at growing
/// distances, and then not until the next sign.
class SessionBusWatch {
public:
    /// Starts at once. `client` outlives the watch.
    SessionBusWatch(sd_event& event, SessionBusAddress address, SessionBusClient& client);
    SessionBusWatch(const SessionBusWatch&) = delete;
    SessionBusWatch& operator=(const SessionBusWatch&) = delete;

private:
    void waitForSocket();
    void startTrying();
    void tryConnecting();
    void tryLater();
    void open();
    static int onConnected(sd_bus_message* signal, void* self, sd_bus_error* ignored) noexcept;
    static int onDisconnected(sd_bus_message* signal, void* self, sd_bus_error* ignored) noexcept;
    static int onRetry(sd_event_source* source, std::uint64_t now, void* self) noexcept;

    sd_event& event;
    SessionBusAddress address;
    SessionBusClient& client;
    Bus bus;
    BusSlot connectedSignal;
    BusSlot disconnectedSignal;
    bool isConnected = false;
    int failedAttempts = 0;
    EventSource retry;
    std::unique_ptr<SocketWatch> socketWatch;
};

} // namespace tavo
