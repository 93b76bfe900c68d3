#pragma once

#include "app/views/SettingsControlRow.h"
#include "app/views/SwitchControl.h"

#include <functional>

namespace tavo {

/// A row with a switch.
class SettingsToggleRow final : public SettingsControlRow {
public:
    SettingsToggleRow(const QString& systemImage, const QString& title, std::function<void(bool)> onToggle,
                      QWidget* parent = nullptr);

    /// Does not call back.
    void setOn(bool isOn);
    SwitchControl* toggle() const { return switchControl; }

private:
    SettingsToggleRow(const QString& systemImage, const QString& title, std::function<void(bool)> onToggle,
                      SwitchControl* control, QWidget* parent);

    SwitchControl* switchControl;
};

} // namespace tavo
