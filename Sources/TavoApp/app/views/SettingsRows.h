#pragma once

#include "app/views/Labels.h"
#include "app/views/PopUpButton.h"
#include "app/views/SwitchControl.h"
#include "app/views/Symbol.h"
#include "app/views/TavoButton.h"

#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

namespace tavo {

/// A row of a section: symbol, title, detail, and at the end a control, which takes its accessible name from the title.
class SettingsControlRow : public QWidget {
public:
    SettingsControlRow(const QString& systemImage, const QString& title, QWidget* control, QWidget* parent = nullptr);

    /// Nothing is shown for an empty detail.
    void setDetail(const QString& detail);
    QString title() const { return titleLabel->text(); }
    QString detail() const { return detailLabel->text(); }

    /// Whether there is a checkmark behind the title.
    void setShowsLabelCheckmark(bool isShown);
    bool showsLabelCheckmark() const { return !checkmark->isHidden(); }

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyFonts();

    SymbolView* symbol;
    ElidedLabel* titleLabel;
    ElidedLabel* detailLabel;
    SymbolView* checkmark;
    QWidget* control;
};

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

/// A row with a value as text and a button to change it.
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
    QLabel* valueLabel;
    TavoButton* actionButton;
};

} // namespace tavo
