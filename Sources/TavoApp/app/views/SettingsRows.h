#pragma once

#include "app/views/Controls.h"
#include "app/views/Symbol.h"

#include <QLabel>
#include <QString>
#include <QVBoxLayout>
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
    QLabel* titleLabel;
    QLabel* detailLabel;
    SymbolView* checkmark;
    QWidget* control;
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
    SwitchControl* switchControl;
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
    PopUpButton* popUp;
};

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

/// A titled card of rows, with a line between every two that are shown.
class SettingsSection final : public QWidget {
public:
    explicit SettingsSection(const QString& title, QWidget* parent = nullptr);

    void addRow(SettingsControlRow* row);

protected:
    void changeEvent(QEvent* event) override;

private:
    class Card;

    QLabel* titleLabel;
    Card* card;
};

} // namespace tavo
