#include "app/views/FocusRing.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QFocusEvent>

namespace tavo {

FocusRing::FocusRing(QWidget& control) : control(control) {
    control.installEventFilter(this);
}

void FocusRing::paint(QPainter& painter, const QRectF& shape, double corner) const {
    if (isShown()) {
        ControlPainting::paintFocusRing(painter, shape, corner, Theme::of(control.window()->palette()));
    }
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        switch (static_cast<QFocusEvent*>(event)->reason()) {
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        case Qt::ShortcutFocusReason:
            isByKeyboard = true;
            break;
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
        case Qt::MenuBarFocusReason:
            // It comes back to where it was, by whichever way it had come there.
            break;
        default:
            isByKeyboard = false;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavo
