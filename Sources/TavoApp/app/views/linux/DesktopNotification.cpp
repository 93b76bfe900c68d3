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
    call << QStringLiteral("tavo") << 0U << QStringLiteral("com.vrd.tavo") << title << text.toHtmlEscaped()
         << QStringList() << QVariantMap() << asLongAsTheDesktopLikes;
    bus.asyncCall(call);
}

} // namespace tavo
