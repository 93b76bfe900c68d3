#pragma once

#include "system/linux/BusConnection.h"

#include <optional>
#include <string>

namespace tavo {

/// Talks to the system's service manager, org.freedesktop.systemd1(5).
class ServiceManager {
public:
    /// @throws BusError when there is no system bus.
    ServiceManager() : bus(BusConnection::openSystem()) {}

    /// What is being done to a unit: "start", "stop", "restart" and so on, by the names of systemctl(1). Nothing when the
    /// unit is left alone. @throws BusError when the manager does not answer.
    std::optional<std::string> jobTypeOf(const std::string& unit) const;

private:
    BusConnection bus;
};

} // namespace tavo
