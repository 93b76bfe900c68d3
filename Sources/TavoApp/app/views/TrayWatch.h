#pragma once

#include "app/MainLoop.h"

#include <QObject>
#include <QString>
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

/// Says that the desktop has no tray: not before a tray that is about to come up has had its time, and no longer than there
/// is none.
class TrayHint final : public QObject {
    Q_OBJECT

public:
    /// In seconds: desktops start their bars beside the applications of a login, and some of them late.
    static constexpr double patience = 20;

    TrayHint(const TrayWatch& tray, MainLoop& mainLoop);

    /// Empty when there is nothing to say.
    QString text() const;

Q_SIGNALS:
    void changed();

private:
    void look();
    void setSaid(bool said);

    const TrayWatch& tray;
    MainLoop& mainLoop;
    std::unique_ptr<MainLoopTimer> waiting;
    bool isSaid = false;
};

} // namespace tavo
