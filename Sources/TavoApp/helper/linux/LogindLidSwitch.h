#pragma once

#include "helper/linux/LidSwitchManaging.h"

namespace tavo {

/// logind, org.freedesktop.login1(5). Every call opens a connection of its own: the bus may have been restarted between two.
class LogindLidSwitch final : public LidSwitchManaging {
public:
    LidSwitchActions actions() const override;
    void rereadConfiguration() const override;
    FileDescriptor takeSleepLock() const override;
    LidSituation situation() const override;
    void sleep(const std::string& action) const override;
};

} // namespace tavo
