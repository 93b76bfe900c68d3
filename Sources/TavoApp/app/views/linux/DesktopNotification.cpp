#include "app/views/DesktopNotification.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QSystemTrayIcon>
#include <QVariantMap>

namespace tavo {

namespace {

/// Desktop Notifications Specification 1.2.
const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
/// The name of the desktop entry: notifications are shown, grouped and switched off as those of this application.
const QString applicationId = QStringLiteral("com.vrd.tavo");
constexpr int asLongAsTheDesktopLikes = -1;

} // namespace

void notifyUser(QSystemTrayIcon* tray, const QString& title, const QString& text) {
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(service)) {
        if (tray != nullptr && QSystemTrayIcon::supportsMessages()) {
            tray->showMessage(title, text, tray->icon());
        }
        return;
    }
    auto call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), applicationId}};
    call << QStringLiteral("tavo") << 0U << applicationId << title << text.toHtmlEscaped() << QStringList() << hints
         << asLongAsTheDesktopLikes;
    bus.asyncCall(call);
}

} // namespace tavo
