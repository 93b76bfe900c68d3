#include "app/views/linux/StatusNotifierHosts.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

namespace tavo {

namespace {

// freedesktop.org's StatusNotifierItem, "StatusNotifierWatcher", under the name that desktops give it.
const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");

} // namespace

StatusNotifierHosts::StatusNotifierHosts(const QDBusConnection& bus)
    : bus(bus), watcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange) {
    if (!this->bus.isConnected()) {
        return;
    }
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &StatusNotifierHosts::ask);
    for (const auto& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")}) {
        this->bus.connect(service, path, service, signal, this, SLOT(ask()));
    }
    ask();
}

void StatusNotifierHosts::ask() {
    auto call = QDBusMessage::createMethodCall(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                               QStringLiteral("Get"));
    call << service << QStringLiteral("IsStatusNotifierHostRegistered");
    call.setAutoStartService(false);
    // Drops the earlier question, whose answer may arrive after this one's.
    question = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(call));
    connect(question.get(), &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        setRegistered(reply.isValid() && reply.value().variant().toBool());
    });
}

void StatusNotifierHosts::setRegistered(bool registered) {
    if (std::exchange(isRegistered, registered) != registered) {
        Q_EMIT changed();
    }
}

} // namespace tavo
