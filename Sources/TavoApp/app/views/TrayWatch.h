#pragma once

#include <QObject>
#include <memory>

namespace tavo {

/// Knows whether the desktop shows icons of applications in a tray, which may come up after them.
class TrayWatch : public QObject {
    Q_OBJECT

public:
    virtual bool isThere() const = 0;

Q_SIGNALS:
    /// Also when a tray has given way to another one.
    void changed();
};

/// Of this desktop; to be made after the application object.
std::unique_ptr<TrayWatch> watchTray();

} // namespace tavo
