#include "app/views/SettingsToggleRow.h"

#include <QSignalBlocker>
#include <utility>

namespace tavo {

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, QWidget* parent)
    : SettingsControlRow(systemImage, title, new SwitchControl, parent), switchControl(findChild<SwitchControl*>()) {
    connect(switchControl, &QCheckBox::toggled, this, std::move(onToggle));
}

void SettingsToggleRow::setOn(bool isOn) {
    const QSignalBlocker blocker(switchControl);
    switchControl->setChecked(isOn);
}

} // namespace tavo
