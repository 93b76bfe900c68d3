#pragma once

#include "base/DescribedError.h"

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

struct sd_bus;
struct sd_bus_message;

namespace tavo {

/// A bus or a service on it did not do what it was asked.
class BusError final : public DescribedError {
public:
    /// @param name  the D-Bus error name, "org.freedesktop.DBus.Error.AccessDenied" for one.
    BusError(std::string name, const std::string& description)
        : DescribedError(description), errorName(std::move(name)) {}

    const std::string& name() const { return errorName; }

private:
    std::string errorName;
};

struct BusMessageDeleter {
    void operator()(sd_bus_message* message) const;
};

/// A message of sd-bus(3), its own or one that was received.
using BusMessageHandle = std::unique_ptr<sd_bus_message, BusMessageDeleter>;

/// Where a method or a property is found on a bus.
struct BusTarget {
    const char* service;
    const char* path;
    const char* interface;
};

/// @throws BusError for a negative error number of sd-bus; `attempt` is what failed, as the beginning of a sentence.
void checkBusResult(int result, const std::string& attempt);

/// A connection to the system's or the session's message bus, sd-bus(3). Every call is bounded and starts no service.
class BusConnection {
public:
    static constexpr std::chrono::milliseconds usualBound{2000};

    /// @param callBound  of each call. @throws BusError when there is no such bus.
    static BusConnection openSystem(std::chrono::milliseconds callBound = usualBound);
    static BusConnection openSession();

    /// Sets the bound of each later call. @throws BusError
    void limitCalls(std::chrono::microseconds callBound);

    /// False after a call has found that the bus has ended the connection.
    bool isOpen() const;

    /// Whether somebody owns the name now. @throws BusError.
    bool hasOwner(const std::string& name) const;

    /// The process of the name's owner; nothing when there is none. @throws BusError.
    std::optional<pid_t> processOf(const std::string& name) const;

    /// A call without arguments yet. @throws BusError.
    BusMessageHandle newCall(const BusTarget& target, const char* method) const;

    /// Sends a call and waits for its answer. @throws BusError that begins with `attempt`.
    BusMessageHandle call(BusMessageHandle request, const std::string& attempt) const;

    /// A property of the type "s". @throws BusError.
    std::string textProperty(const BusTarget& target, const char* name) const;

    /// A property of the type "b". @throws BusError.
    bool flagProperty(const BusTarget& target, const char* name) const;

private:
    struct Closer {
        void operator()(sd_bus* bus) const;
    };
    explicit BusConnection(sd_bus* bus) : bus(bus) {}
    static BusConnection bounded(sd_bus* bus, std::chrono::microseconds callBound);

    /// The answer, opened up to the value. @throws BusError, also when the property is of another type.
    BusMessageHandle property(const BusTarget& target, const char* name, const char* type) const;

    std::unique_ptr<sd_bus, Closer> bus;
    std::chrono::microseconds callBound{usualBound};
};

} // namespace tavo
