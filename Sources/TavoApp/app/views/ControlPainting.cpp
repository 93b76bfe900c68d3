#include "app/views/ControlPainting.h"

#include "app/views/Theme.h"

#include <QFocusEvent>
#include <cmath>

namespace tavo {

namespace {

constexpr double ringWidth = 2.0;

void paintRing(QPainter& painter, const QRectF& shape, double corner, const Theme& theme) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme.focusRing, ringWidth));
    const auto inset = ringWidth / 2;
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), corner, corner);
    // A second line, for backgrounds of the ring's own colour.
    painter.setPen(QPen(theme.onColour, 1.0));
    const auto second = ringWidth + 0.5;
    painter.drawRoundedRect(shape.adjusted(second, second, -second, -second), corner - 2, corner - 2);
}

} // namespace

namespace ControlPainting {

int grown(int length, const QWidget& widget) {
    return static_cast<int>(std::lround(length * Typography::scale(widget.font())));
}

void paintGround(QPainter& painter, const QRectF& shape, double corner, const QColor& colour, const QColor& border) {
    painter.setPen(border.isValid() ? QPen(border, 1.0) : QPen(Qt::NoPen));
    painter.setBrush(colour);
    const double inset = border.isValid() ? 0.5 : 0.0;
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), corner, corner);
}

} // namespace ControlPainting

FocusRing::FocusRing(QWidget& control) : control(control) {
    control.installEventFilter(this);
}

void FocusRing::paint(QPainter& painter, const QRectF& shape, double corner) const {
    if (isShown()) {
        paintRing(painter, shape, corner, Theme::of(control.window()->palette()));
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
            // The focus returns to where it was; how it got there in the first place still counts.
            break;
        default:
            isByKeyboard = false;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavo
