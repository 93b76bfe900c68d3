#include "app/views/SettingsToggleRow.h"

#include <QSignalBlocker>
#include <utility>

namespace tavo {

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, QWidget* parent)
    : SettingsToggleRow(systemImage, title, std::move(onToggle), new SwitchControl, parent) {}

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, SwitchControl* control, QWidget* parent)
    : SettingsControlRow(systemImage, title, control, parent), switchControl(control) {
    connect(switchControl, &QCheckBox::toggled, this, std::move(onToggle));
}

void SettingsToggleRow::setOn(bool isOn) {
    const QSignalBlocker blocker(switchControl);
    switchControl->setChecked(isOn);
}

} // namespace tavo
