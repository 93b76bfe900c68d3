#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <system_error>

namespace tavo {

/// Releases each handle of libsystemd. A bus connection is closed without flushing: flushing waits for the other end,
/// and nothing here may.
struct HandleDeleter {
    void operator()(sd_event* event) const { sd_event_unref(event); }
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

using EventLoop = std::unique_ptr<sd_event, HandleDeleter>;
using EventSource = std::unique_ptr<sd_event_source, HandleDeleter>;
using Bus = std::unique_ptr<sd_bus, HandleDeleter>;
using BusSlot = std::unique_ptr<sd_bus_slot, HandleDeleter>;
using BusMessage = std::unique_ptr<sd_bus_message, HandleDeleter>;

/// Lets a C function that makes a handle write it into an owner: `sd_bus_new(Receive(bus))`.
template <typename T>
class Receive {
public:
    explicit Receive(std::unique_ptr<T, HandleDeleter>& owner) : owner(owner) {}
    ~Receive() { owner.reset(made); }
    Receive(const Receive&) = delete;
    Receive& operator=(const Receive&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor): stands in for the out parameter.
    operator T**() { return &made; }

private:
    std::unique_ptr<T, HandleDeleter>& owner;
    T* made = nullptr;
};

/// Returns a result of libsystemd. @throws std::system_error when it is a negative error number.
inline int checked(int result, const char* attempted) {
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), attempted);
    }
    return result;
}

/// The name of every connection and lock, in busctl(1) and in logind's list.
constexpr const char* inhibitorName = "tavo";

/// A connection to the system bus that the event loop serves. @throws std::system_error
inline Bus openSystemBus(sd_event& event) {
    constexpr auto attempt = "open the system bus";
    Bus bus;
    checked(sd_bus_open_system_with_description(Receive(bus), inhibitorName), attempt);
    // The default would flush at exit, and wait for a bus that does not read.
    checked(sd_bus_set_close_on_exit(bus.get(), 0), attempt);
    checked(sd_bus_attach_event(bus.get(), &event, SD_EVENT_PRIORITY_NORMAL), attempt);
    return bus;
}

/// Calls `handler` once after this time, unless `timer` is reset before. @returns a negative errno when it cannot.
inline int startTimer(sd_event& event, EventSource& timer, std::chrono::microseconds time,
                      sd_event_time_handler_t handler, void* self) {
    // sd-event's own choice would be 250 ms.
    constexpr std::uint64_t accuracyMicroseconds = 1'000;
    return sd_event_add_time_relative(&event, Receive(timer), CLOCK_MONOTONIC, static_cast<std::uint64_t>(time.count()),
                                      accuracyMicroseconds, handler, self);
}

} // namespace tavo
