#pragma once

#include "base/FileDescriptor.h"
#include "system/HeldAssertionsProviding.h"
#include "system/linux/BusConnection.h"

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// A connection to logind, org.freedesktop.login1(5).
class LogindClient {
public:
    /// @param callBound  of each call. @throws BusError when there is no system bus.
    explicit LogindClient(std::chrono::milliseconds callBound = BusConnection::usualBound)
        : bus(BusConnection::openSystem(callBound)) {}

    /// Sets the bound of each later call. @throws BusError
    void limitCalls(std::chrono::milliseconds callBound) { bus.limitCalls(callBound); }

    /// False after a call has found that the bus has ended the connection.
    bool isConnected() const { return bus.isOpen(); }

    /// The block locks that cover sleep or idleness. @throws BusError when logind does not answer.
    std::vector<HeldAssertion> blockingLocks() const;

    /// Takes a lock; it lasts until the descriptor is closed. @throws BusError when it is refused.
    FileDescriptor takeLock(const std::string& what, const std::string& why, const std::string& who = "tavo") const;

    /// A property of the manager's. @throws BusError
    std::string text(const char* property) const;
    bool flag(const char* property) const;

    /// Whether this user's services run without a session, loginctl(1), "enable-linger". @throws BusError, also for a
    /// user who is neither logged in nor lingering.
    bool lingers(uid_t user) const;

    /// Has logind read its configuration again, which it does a little later (SIGHUP: its service cannot be reloaded).
    /// Does nothing when no logind runs. @throws BusError, std::system_error
    void rereadConfiguration() const;

    /// Calls "Suspend", "Hibernate" or another of its kind; nobody is asked for a password.
    /// @throws BusError when logind refuses.
    void requestSleep(const char* method) const;

    /// Of the service manager, as in "252.39-1~deb12u2"; absent when it is not systemd that runs the system.
    std::optional<std::string> systemdVersion() const;

    bool isRunning() const { return bus.hasOwner("org.freedesktop.login1"); }
    bool isPolkitRunning() const { return bus.hasOwner("org.freedesktop.PolicyKit1"); }

private:
    BusConnection bus;
};

/// logind's list of locks.
class LogindLockList final : public HeldAssertionsProviding {
public:
    bool usesPlanWords() const override { return true; }
    std::vector<HeldAssertion> heldAssertions() override { return LogindClient().blockingLocks(); }
};

} // namespace tavo
