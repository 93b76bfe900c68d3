#include "app/views/SettingsPickerRow.h"

#include <utility>

namespace tavo {

SettingsPickerRow::SettingsPickerRow(const QString& systemImage, const QString& title,
                                     const std::vector<Choice>& choices,
                                     std::function<void(const QString& value)> onChoice, QWidget* parent)
    : SettingsPickerRow(systemImage, title, choices, std::move(onChoice), new PopUpButton, parent) {}

SettingsPickerRow::SettingsPickerRow(const QString& systemImage, const QString& title,
                                     const std::vector<Choice>& choices,
                                     std::function<void(const QString& value)> onChoice, PopUpButton* control,
                                     QWidget* parent)
    : SettingsControlRow(systemImage, title, control, parent), popUp(control) {
    for (const auto& choice : choices) {
        popUp->addItem(choice.title, choice.value);
    }
    connect(popUp, &QComboBox::activated, this, [this, onChoice = std::move(onChoice)](int index) {
        popUp->updateGeometry();
        onChoice(popUp->itemData(index).toString());
    });
}

void SettingsPickerRow::setValue(const QString& value) {
    popUp->setCurrentIndex(popUp->findData(value));
    popUp->updateGeometry();
}

} // namespace tavo
