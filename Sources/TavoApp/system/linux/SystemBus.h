#pragma once

#include "base/DescribedError.h"
#include "base/FileDescriptor.h"
#include "system/HeldAssertionsProviding.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sd_bus;

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

/// A connection to the system's or the session's message bus, sd-bus(3). Every call is bounded and starts no service.
class BusConnection {
public:
    /// @throws BusError when there is no such bus.
    static BusConnection openSystem();
    static BusConnection openSession();

    /// Whether somebody owns the name now. @throws BusError.
    bool hasOwner(const std::string& name) const;

    sd_bus* get() const { return bus.get(); }

private:
    struct Closer {
        void operator()(sd_bus* bus) const;
    };
    explicit BusConnection(sd_bus* bus) : bus(bus) {}
    static BusConnection bounded(sd_bus* bus);

    std::unique_ptr<sd_bus, Closer> bus;
};

/// Talks to logind, org.freedesktop.login1(5).
class LogindClient {
public:
    /// @throws BusError when there is no system bus.
    LogindClient() : bus(BusConnection::openSystem()) {}

    /// The block locks that cover sleep or idleness. @throws BusError when logind does not answer.
    std::vector<HeldAssertion> blockingLocks() const;

    /// Takes a lock; it lasts until the descriptor is closed. @throws BusError when it is refused.
    FileDescriptor takeLock(const std::string& what, const std::string& why) const;

    /// Of the service manager, as in "252.39-1~deb12u2"; absent when it is not systemd that runs the system.
    std::optional<std::string> systemdVersion() const;

    bool isRunning() const { return bus.hasOwner("org.freedesktop.login1"); }
    bool isPolkitRunning() const { return bus.hasOwner("org.freedesktop.PolicyKit1"); }

private:
    BusConnection bus;
};

/// What logind lists.
class LogindLockList final : public HeldAssertionsProviding {
public:
    std::vector<HeldAssertion> heldAssertions() override { return LogindClient().blockingLocks(); }
};

} // namespace tavo
