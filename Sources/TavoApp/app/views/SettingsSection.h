#pragma once

#include "app/views/Labels.h"
#include "app/views/SettingsRows.h"

#include <QWidget>

namespace tavo {

/// A titled card of rows, with a line between every two that are shown.
class SettingsSection final : public QWidget {
public:
    explicit SettingsSection(const QString& title, QWidget* parent = nullptr);

    void addRow(SettingsControlRow* row);

protected:
    void changeEvent(QEvent* event) override;

private:
    class Card;

    ElidedLabel* titleLabel;
    Card* card;
};

} // namespace tavo
