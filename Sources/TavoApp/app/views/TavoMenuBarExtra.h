#pragma once

#include "app/UserNotices.h"
#include "app/views/ModelObserver.h"
#include "app/views/TavoMenuBarView.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

namespace tavo {

/// The item in the menu bar or tray, and the panel that it opens.
class TavoMenuBarExtra final : public QObject {
public:
    explicit TavoMenuBarExtra(ModelObserver& observer);
    ~TavoMenuBarExtra() override;

    /// Opens the panel, or closes it.
    void togglePanel();
    void closePanel();

    QWidget& panel() const { return *panelWindow; }
    const QSystemTrayIcon& item() const { return tray; }
    QMenu& menu() { return contextMenu; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showModel(ModelChanges changes);
    void showIcon();
    void fillMenu();
    void placePanel();

    ModelObserver& observer;
    QSystemTrayIcon tray;
    QMenu contextMenu;
    QAction* toggleAction;
    std::unique_ptr<QWidget> panelWindow;
    bool isClosing = false;
    AwakeEndWatch awakeEnd;
};

} // namespace tavo
