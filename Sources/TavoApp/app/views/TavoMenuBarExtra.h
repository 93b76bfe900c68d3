#pragma once

#include "app/UserNotices.h"
#include "app/views/ModelObserver.h"
#include "app/views/PanelWindow.h"
#include "app/views/TavoMenuBarView.h"
#include "app/views/TrayWatch.h"

#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>
#include <optional>

namespace tavo {

/// The item in the menu bar or tray, and the panel that it opens.
class TavoMenuBarExtra final : public QObject {
public:
    TavoMenuBarExtra(ModelObserver& observer, const TrayWatch& tray);
    ~TavoMenuBarExtra() override;

    /// Opens the panel, or closes it.
    void togglePanel();
    void closePanel();

    /// Made when it is first asked for.
    PanelWindow& panel();

    /// Null until there is a tray to show it.
    const QSystemTrayIcon* item() const { return statusItem.get(); }
    QMenu& menu() { return contextMenu; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeItem();
    std::unique_ptr<PanelWindow> makePanel();
    void showModel(ModelChanges changes);
    void showState();
    void showIcon();
    void fillMenu();
    void placePanel();

    ModelObserver& observer;
    const TrayWatch& tray;
    QMenu contextMenu;
    std::unique_ptr<QSystemTrayIcon> statusItem;
    QAction* toggleAction;
    std::unique_ptr<PanelWindow> panelWindow;

    /// Drawn once, since every drawing stays in Qt's cache for a while: evaluations would fill it.
    QIcon heldIcon;
    QIcon idleIcon;
    std::optional<bool> shownHeld;
    bool isClosing = false;
    AwakeEndWatch awakeEnd;
};

} // namespace tavo
