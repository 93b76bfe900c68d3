#include "app/views/TrayWatch.h"

#include <utility>

namespace tavo {

TrayHint::TrayHint(const TrayWatch& tray, MainLoop& mainLoop) : tray(tray), mainLoop(mainLoop) {
    connect(&tray, &TrayWatch::changed, this, &TrayHint::look);
    look();
}

void TrayHint::look() {
    if (tray.isThere()) {
        waiting.reset();
        setSaid(false);
    } else if (!waiting && !isSaid) {
        waiting = mainLoop.startTimer(patience, [this] {
            waiting.reset();
            setSaid(true);
        });
    }
}

void TrayHint::setSaid(bool said) {
    if (std::exchange(isSaid, said) != said) {
        Q_EMIT changed();
    }
}

QString TrayHint::text() const {
    return isSaid ? QStringLiteral("this desktop shows no tray, so tavo has no icon there: it goes on when this window "
                                   "is closed, and starting tavo again brings the window back.")
                  : QString();
}

} // namespace tavo
