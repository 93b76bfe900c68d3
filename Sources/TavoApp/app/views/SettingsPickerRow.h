#pragma once

#include "app/views/PopUpButton.h"
#include "app/views/SettingsControlRow.h"

#include <functional>
#include <vector>

namespace tavo {

/// A row with a picker.
class SettingsPickerRow final : public SettingsControlRow {
public:
    struct Choice {
        QString value;
        QString title;
    };

    SettingsPickerRow(const QString& systemImage, const QString& title, const std::vector<Choice>& choices,
                      std::function<void(const QString& value)> onChoice, QWidget* parent = nullptr);

    /// Does not call back.
    void setValue(const QString& value);
    PopUpButton* picker() const { return popUp; }

private:
    SettingsPickerRow(const QString& systemImage, const QString& title, const std::vector<Choice>& choices,
                      std::function<void(const QString& value)> onChoice, PopUpButton* control, QWidget* parent);

    PopUpButton* popUp;
};

} // namespace tavo
