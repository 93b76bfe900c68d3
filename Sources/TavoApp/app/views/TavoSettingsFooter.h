#pragma once

#include "app/views/Labels.h"
#include "app/views/ModelObserver.h"
#include "app/views/TavoButton.h"

#include <QWidget>

namespace tavo {

/// The buttons to save or cancel the edits, and to switch on or off.
class TavoSettingsFooter final : public QWidget {
public:
    explicit TavoSettingsFooter(ModelObserver& observer, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showModel();

    ModelObserver& observer;
    WarningLabel* unsavedLabel;
    TavoButton* cancelButton;
    TavoButton* saveButton;
    TavoButton* toggleButton;
};

} // namespace tavo
