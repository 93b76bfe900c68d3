#include "TavoInhibit/SessionBusWatch.h"

#include "system/BusAddresses.h"

#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo {

namespace {

constexpr std::string_view unixTransport = "unix:";
constexpr std::string_view pathKey = "path=";

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<unsigned> hexDigit(char character) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto lower = character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
    const auto position = digits.find(lower);
    return position == std::string_view::npos ? std::nullopt : std::optional(static_cast<unsigned>(position));
}

/// Undoes the %XX of D-Bus addresses. Nothing when malformed.
std::optional<std::string> unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        if (text.front() != '%') {
            result += text.front();
            text.remove_prefix(1);
            continue;
        }
        const auto high = text.size() > 2 ? hexDigit(text[1]) : std::nullopt;
        const auto low = text.size() > 2 ? hexDigit(text[2]) : std::nullopt;
        if (!high || !low || (*high == 0 && *low == 0)) {
            return std::nullopt;
        }
        result += static_cast<char>(*high * 16 + *low);
        text.remove_prefix(3);
    }
    return result;
}

/// Whether an address holds this character of a path unescaped: "Server Addresses" in D-Bus's own documentation.
bool needsNoEscape(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || std::string_view("-_/.\\*").find(character) != std::string::npos;
}

std::string escaped(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const auto character : text) {
        if (needsNoEscape(character)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result.append({'%', digits[byte / 16U], digits[byte % 16U]});
        }
    }
    return result;
}

SessionBusAddress atSocket(const std::filesystem::path& socket) {
    return {"unix:path=" + escaped(socket.native()), socket};
}

std::optional<SessionBusAddress> socketAddress(std::string_view entry) {
    if (!entry.starts_with(unixTransport)) {
        return std::nullopt;
    }
    for (const auto field : split(entry.substr(unixTransport.size()), ',')) {
        const auto path = field.starts_with(pathKey) ? unescaped(field.substr(pathKey.size())) : std::nullopt;
        if (path && path->starts_with('/')) {
            return atSocket(*path);
        }
    }
    return std::nullopt;
}

/// Doubled each time: eight attempts spread over two and a half seconds.
constexpr std::chrono::milliseconds firstPause{10};
constexpr int maxAttempts = 8;

constexpr auto attempt = "connect to the session bus";

/// For signals that sd-bus makes itself, about the connection: sd_bus_set_connected_signal(3).
void matchLocal(sd_bus& bus, BusSlot& slot, const char* member, sd_bus_message_handler_t handler, void* self) {
    checked(sd_bus_match_signal_async(&bus, Receive(slot), "org.freedesktop.DBus.Local", "/org/freedesktop/DBus/Local",
                                      "org.freedesktop.DBus.Local", member, handler, nullptr, self),
            attempt);
}

} // namespace

std::optional<SessionBusAddress> findSessionBus(const char* busAddress, const char* runtimeFolder) {
    const std::string_view address = busAddress == nullptr ? "" : busAddress;
    for (const auto entry : split(address, ';')) {
        if (auto found = socketAddress(entry)) {
            return found;
        }
    }
    if (!address.empty()) {
        auto sockets = unixBusAddresses(address);
        return sockets.empty() ? std::nullopt : std::optional(SessionBusAddress{std::move(sockets), std::nullopt});
    }
    const std::string_view folder = runtimeFolder == nullptr ? "" : runtimeFolder;
    if (!folder.starts_with('/')) {
        return std::nullopt;
    }
    return atSocket(std::filesystem::path(folder) / "bus");
}

SessionBusWatch::SessionBusWatch(sd_event& event, SessionBusAddress address, SessionBusClient& client)
    : event(event), address(std::move(address)), client(client) {
    waitForSocket();
    startTrying();
}

void SessionBusWatch::waitForSocket() {
    if (address.socket) {
        socketWatch = std::make_unique<SocketWatch>(event, *address.socket, [this] { startTrying(); });
    }
}

void SessionBusWatch::startTrying() {
    failedAttempts = 0;
    tryConnecting();
}

void SessionBusWatch::tryConnecting() {
    retry.reset();
    bus.reset();
    try {
        open();
    } catch (const std::system_error& error) {
        bus.reset();
        // Without a socket there is nothing to try; the socket is watched for.
        if (error.code().value() != ENOENT) {
            tryLater();
        }
    }
}

void SessionBusWatch::open() {
    checked(sd_bus_new(Receive(bus)), attempt);
    checked(sd_bus_set_description(bus.get(), inhibitorName), attempt);
    checked(sd_bus_set_address(bus.get(), address.address.c_str()), attempt);
    checked(sd_bus_set_bus_client(bus.get(), 1), attempt);
    checked(sd_bus_set_connected_signal(bus.get(), 1), attempt);
    // The default would flush at exit, and wait for a bus that does not read.
    checked(sd_bus_set_close_on_exit(bus.get(), 0), attempt);
    matchLocal(*bus, connectedSignal, "Connected", onConnected, this);
    matchLocal(*bus, disconnectedSignal, "Disconnected", onDisconnected, this);
    checked(sd_bus_start(bus.get()), attempt);
    checked(sd_bus_attach_event(bus.get(), &event, SD_EVENT_PRIORITY_NORMAL), attempt);
}

void SessionBusWatch::tryLater() {
    if (failedAttempts >= maxAttempts) {
        return;
    }
    const auto pause = firstPause * (1 << failedAttempts);
    ++failedAttempts;
    // Without a timer the next sign of life is still waited for.
    startTimer(event, retry, pause, onRetry, this);
}

int SessionBusWatch::onConnected(sd_bus_message*, void* self, sd_bus_error*) noexcept {
    auto& watch = *static_cast<SessionBusWatch*>(self);
    watch.isConnected = true;
    // While the bus is there, its end is all there is to know.
    watch.socketWatch.reset();
    watch.client.busConnected(*watch.bus);
    return 0;
}

int SessionBusWatch::onDisconnected(sd_bus_message*, void* self, sd_bus_error*) noexcept {
    auto& watch = *static_cast<SessionBusWatch*>(self);
    if (!watch.isConnected) {
        watch.tryLater();
        return 0;
    }
    watch.isConnected = false;
    watch.client.busEnded();
    // The watch first: a socket that returns between a failed attempt and the watch would go unseen.
    watch.waitForSocket();
    watch.startTrying();
    return 0;
}

int SessionBusWatch::onRetry(sd_event_source*, std::uint64_t, void* self) noexcept {
    static_cast<SessionBusWatch*>(self)->tryConnecting();
    return 0;
}

} // namespace tavo
