#pragma once

#include <QString>

class QSystemTrayIcon;

namespace tavo {

/// Notifies the user in the desktop's own way.
/// @param tray  shows it where the desktop has no other way; may be null.
void notifyUser(QSystemTrayIcon* tray, const QString& title, const QString& text);

} // namespace tavo
