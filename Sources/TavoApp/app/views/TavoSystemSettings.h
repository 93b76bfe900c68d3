#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/SettingsRows.h"

#include <QWidget>

namespace tavo {

/// The settings that need the system: launch at login and the closed-lid permission.
class TavoSystemSettings final : public QWidget {
public:
    explicit TavoSystemSettings(ModelObserver& observer, QWidget* parent = nullptr);

private:
    void showModel();
    bool offersReset() const;
    void act();

    ModelObserver& observer;
    SettingsToggleRow* loginRow;
    SettingsActionValueRow* permissionRow;
};

} // namespace tavo
