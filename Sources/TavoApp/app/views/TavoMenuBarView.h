#pragma once

#include "app/views/Labels.h"
#include "app/views/MenuBarActionRow.h"
#include "app/views/ModelObserver.h"
#include "app/views/NoticeList.h"
#include "app/views/StatusPill.h"

#include <QWidget>
#include <functional>

namespace tavo {

/// The panel of the menu bar or tray: Tavo's status and three actions.
class TavoMenuBarView final : public QWidget {
public:
    /// @param onAction  called before an action runs, to close the panel.
    TavoMenuBarView(ModelObserver& observer, std::function<void()> onAction, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void showModel(ModelChanges changes);
    void applyFonts();
    void fitHeight();

    ModelObserver& observer;
    ElidedLabel* nameLabel;
    ElidedLabel* statusLabel;
    MenuBarHeaderStatusIndicator* indicator;
    WarningLabel* permissionWarning;
    NoticeList* notices;
    MenuBarActionRow* toggleRow;
    MenuBarActionRow* settingsRow;
    MenuBarActionRow* quitRow;
};

} // namespace tavo
