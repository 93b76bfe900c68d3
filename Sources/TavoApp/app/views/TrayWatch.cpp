#include "app/views/TrayWatch.h"

#include <utility>

namespace tavo {

TrayHint::TrayHint(const TrayWatch& tray, MainLoop& mainLoop) : tray(tray), mainLoop(mainLoop) {
    connect(&tray, &TrayWatch::changed, this, &TrayHint::update);
    update();
}

void TrayHint::update() {
    if (tray.isThere()) {
        waiting.reset();
        setShown(false);
    } else if (!waiting && !isShown) {
        waiting = mainLoop.startTimer(patience, [this] {
            waiting.reset();
            setShown(true);
        });
    }
}

void TrayHint::setShown(bool shown) {
    if (std::exchange(isShown, shown) != shown) {
        Q_EMIT changed();
    }
}

QString TrayHint::text() const {
    return isShown
               ? QStringLiteral("this desktop shows no tray, so tavo has no icon there: it goes on when this window "
                                "is closed, and starting tavo again brings the window back.")
               : QString();
}

} // namespace tavo
