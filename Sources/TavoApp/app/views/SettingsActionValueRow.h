#pragma once

#include "app/views/SettingsControlRow.h"
#include "app/views/TavoButton.h"

#include <functional>

namespace tavo {

/// A row with a value in words and a button that does something about it.
class SettingsActionValueRow final : public SettingsControlRow {
public:
    SettingsActionValueRow(const QString& systemImage, const QString& title, std::function<void()> onAction,
                           QWidget* parent = nullptr);

    void setValue(const QString& value);
    QString value() const { return valueLabel->text(); }
    void setPrimaryAction(const QString& actionTitle, const QString& actionSystemImage);
    void setWorking(bool isWorking);
    TavoButton* button() const { return actionButton; }

private:
    explicit SettingsActionValueRow(const QString& systemImage, const QString& title, QWidget* ending,
                                    std::function<void()> onAction, QWidget* parent);

    QLabel* valueLabel;
    TavoButton* actionButton;
};

} // namespace tavo
