#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"

#include <array>
#include <string_view>
#include <utility>

namespace tavo {

namespace {

/// Differs from the name of the lock that a Tavo itself holds: this one belongs to the service.
constexpr const char* lockHolder = "tavo-helper";
constexpr const char* lockReason = "the computer stays awake with its lid closed";

} // namespace

std::chrono::milliseconds LogindLidSwitch::bound() const {
    return budget ? budget->boundOf(BusConnection::usualBound) : BusConnection::usualBound;
}

template <typename Reading>
auto LogindLidSwitch::read(Reading reading) const {
    const bool isReused = readings.has_value();
    if (isReused) {
        readings->limitCalls(bound());
    } else {
        readings.emplace(bound());
    }
    try {
        return reading(*readings);
    } catch (const BusError&) {
        if (!isReused || readings->isConnected()) {
            throw;
        }
    }
    readings.reset();
    readings.emplace(bound());
    return reading(*readings);
}

LidSwitchActions LogindLidSwitch::actions() const {
    return read([](const LogindClient& logind) {
        return LidSwitchActions{logind.text("HandleLidSwitch"), logind.text("HandleLidSwitchExternalPower")};
    });
}

void LogindLidSwitch::rereadConfiguration() const {
    LogindClient(bound()).rereadConfiguration();
}

FileDescriptor LogindLidSwitch::takeSleepLock() const {
    return LogindClient(bound()).takeLock("sleep", lockReason, lockHolder);
}

LidSituation LogindLidSwitch::situation() const {
    return read([](const LogindClient& logind) {
        const auto blocked = ":" + logind.text("BlockInhibited") + ":";
        return LidSituation{.isLidClosed = logind.flag("LidClosed"),
                            .isOnExternalPower = logind.flag("OnExternalPower"),
                            .isDocked = logind.flag("Docked"),
                            .actionWhenDocked = logind.text("HandleLidSwitchDocked"),
                            .isLidHandledElsewhere = blocked.find(":handle-lid-switch:") != std::string::npos,
                            .isSleepBlocked = blocked.find(":sleep:") != std::string::npos};
    });
}

void LogindLidSwitch::sleep(const std::string& action) const {
    constexpr std::array<std::pair<std::string_view, const char*>, 4> methods{
        {{"suspend", "Suspend"},
         {"hibernate", "Hibernate"},
         {"hybrid-sleep", "HybridSleep"},
         {"suspend-then-hibernate", "SuspendThenHibernate"}}};
    for (const auto& [word, method] : methods) {
        if (action == word) {
            LogindClient(bound()).requestSleep(method);
        }
    }
}

} // namespace tavo
