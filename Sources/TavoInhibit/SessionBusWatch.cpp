#include "TavoInhibit/SessionBusWatch.h"

#include <cerrno>
#include <ctime>

namespace tavo {
namespace {

// 10 ms, doubled each time: eight attempts spread over two and a half seconds.
constexpr std::uint64_t firstRetryMicroseconds = 10'000;
constexpr auto maximumAttempts = 8;

int matchLocal(sd_bus& bus, BusSlot& slot, const char* member, sd_bus_message_handler_t handler, void* self) {
    // Signals that sd-bus makes itself, about the connection: sd_bus_set_connected_signal(3).
    return sd_bus_match_signal_async(&bus, Receive(slot), "org.freedesktop.DBus.Local", "/org/freedesktop/DBus/Local",
                                     "org.freedesktop.DBus.Local", member, handler, nullptr, self);
}

} // namespace

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
    const auto result = open();
    // Without a socket there is nothing to try until it is there, which is what is watched for.
    if (result < 0) {
        bus.reset();
        if (result != -ENOENT) {
            tryLater();
        }
    }
}

int SessionBusWatch::open() {
    auto result = sd_bus_new(Receive(bus));
    if (result < 0) {
        return result;
    }
    const auto steps = {
        +[](SessionBusWatch& watch) { return sd_bus_set_description(watch.bus.get(), "tavo"); },
        +[](SessionBusWatch& watch) { return sd_bus_set_address(watch.bus.get(), watch.address.address.c_str()); },
        +[](SessionBusWatch& watch) { return sd_bus_set_bus_client(watch.bus.get(), 1); },
        +[](SessionBusWatch& watch) { return sd_bus_set_connected_signal(watch.bus.get(), 1); },
        // The default would flush at exit, and wait for a bus that does not read.
        +[](SessionBusWatch& watch) { return sd_bus_set_close_on_exit(watch.bus.get(), 0); },
        +[](SessionBusWatch& watch) {
            return matchLocal(*watch.bus, watch.connectedSignal, "Connected", onConnected, &watch);
        },
        +[](SessionBusWatch& watch) {
            return matchLocal(*watch.bus, watch.disconnectedSignal, "Disconnected", onDisconnected, &watch);
        },
        +[](SessionBusWatch& watch) { return sd_bus_start(watch.bus.get()); },
        +[](SessionBusWatch& watch) {
            return sd_bus_attach_event(watch.bus.get(), &watch.event, SD_EVENT_PRIORITY_NORMAL);
        },
    };
    for (const auto step : steps) {
        result = step(*this);
        if (result < 0) {
            return result;
        }
    }
    return 0;
}

void SessionBusWatch::tryLater() {
    if (failedAttempts >= maximumAttempts) {
        return;
    }
    const auto wait = firstRetryMicroseconds << static_cast<unsigned>(failedAttempts);
    ++failedAttempts;
    // Without a timer the next sign of life is still waited for.
    sd_event_add_time_relative(&event, Receive(retry), CLOCK_MONOTONIC, wait, 1'000, onRetry, this);
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
