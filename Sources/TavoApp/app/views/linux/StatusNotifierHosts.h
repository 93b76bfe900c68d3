#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QObject>
#include <memory>

namespace tavo {

/// Watches a session bus for programs that show the icons of others (the StatusNotifierItem specification). They
/// register with one watcher, which may come and go like them.
class StatusNotifierHosts final : public QObject {
    Q_OBJECT

public:
    explicit StatusNotifierHosts(const QDBusConnection& bus);

    /// Known only once the bus has answered.
    bool areThere() const { return isRegistered; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void ask();

private:
    void setRegistered(bool registered);

    QDBusConnection bus;
    QDBusServiceWatcher watcher;
    std::unique_ptr<QDBusPendingCallWatcher> question;
    bool isRegistered = false;
};

} // namespace tavo
