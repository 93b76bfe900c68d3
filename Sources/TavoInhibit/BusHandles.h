#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>
#include <system_error>

namespace tavo {

/// How each handle of libsystemd is given back. A bus connection is closed without flushing: flushing waits for the
/// other end, and nothing here may.
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

/// Passes a result of libsystemd on. @throws std::system_error when it is a negative error number.
inline int checked(int result, const char* attempted) {
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), attempted);
    }
    return result;
}

} // namespace tavo
