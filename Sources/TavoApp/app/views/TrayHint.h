#pragma once

#include "app/MainLoop.h"
#include "app/views/TrayWatch.h"

#include <QObject>
#include <QString>
#include <memory>

namespace tavo {

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
