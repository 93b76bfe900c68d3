#pragma once

#include "app/views/StatusPill.h"

namespace tavo {

/// Whether Tavo is switched on: that, and not what it is doing.
class MenuBarHeaderStatusIndicator final : public StatusPill {
public:
    explicit MenuBarHeaderStatusIndicator(QWidget* parent = nullptr) : StatusPill(parent) {}

    void setEnabledState(bool isEnabled) {
        setStatus(isEnabled ? QStringLiteral("on") : QStringLiteral("paused"),
                  isEnabled ? PillTone::enabled : PillTone::disabled);
    }
};

} // namespace tavo
