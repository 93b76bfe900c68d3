#pragma once

#include <QString>

class QSystemTrayIcon;

namespace tavo {

/// Tells the user something in the desktop's own way, wherever he is looking.
/// @param tray  tells it where the desktop has no other way; may be null.
void notifyUser(QSystemTrayIcon* tray, const QString& title, const QString& text);

} // namespace tavo
