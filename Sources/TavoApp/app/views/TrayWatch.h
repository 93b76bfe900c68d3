#pragma once

#include "app/MainLoop.h"

#include <QObject>
#include <QString>
#include <memory>

namespace tavo {

/// Knows whether the desktop has a tray for application icons, which may start after the application.
class TrayWatch : public QObject {
    Q_OBJECT

public:
    virtual bool isThere() const = 0;

Q_SIGNALS:
    /// Also when another tray has replaced the present one.
    void changed();
};

/// Watches this desktop; must be called after the application object was made.
std::unique_ptr<TrayWatch> watchTray();

/// A hint that the desktop has no tray, shown once a tray has had time to start, and only while there is none.
class TrayHint final : public QObject {
    Q_OBJECT

public:
    /// In seconds: desktops start their bars together with the applications of a login, and some of them late.
    static constexpr double patience = 20;

    TrayHint(const TrayWatch& tray, MainLoop& mainLoop);

    /// Empty when no hint is shown.
    QString text() const;

Q_SIGNALS:
    void changed();

private:
    void update();
    void setShown(bool shown);

    const TrayWatch& tray;
    MainLoop& mainLoop;
    std::unique_ptr<MainLoopTimer> waiting;
    bool isShown = false;
};

} // namespace tavo
