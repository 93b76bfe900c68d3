#include "app/views/DesktopNotification.h"

#include <QSystemTrayIcon>

namespace tavo {

void notifyUser(QSystemTrayIcon* tray, const QString& title, const QString& text) {
    if (tray != nullptr) {
        tray->showMessage(title, text, tray->icon());
    }
}

} // namespace tavo
