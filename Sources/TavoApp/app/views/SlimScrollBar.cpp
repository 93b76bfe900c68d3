#include "app/views/SlimScrollBar.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QEvent>
#include <QPainter>

namespace tavo {

using namespace ControlPainting;

SlimScrollBar::SlimScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent) {
    setFocusPolicy(Qt::NoFocus);
    vanishing.setSingleShot(true);
    vanishing.setInterval(shownFor);
    connect(&vanishing, &QTimer::timeout, this, [this] { update(); });
    connect(this, &QScrollBar::valueChanged, this, &SlimScrollBar::showForAWhile);
}

void SlimScrollBar::showForAWhile() {
    vanishing.start();
    update();
}

QSize SlimScrollBar::sizeHint() const {
    return orientation() == Qt::Vertical ? QSize(thickness, thickness * 2) : QSize(thickness * 2, thickness);
}

/// A pointer over it means that the user wants it.
bool SlimScrollBar::isThumbShown() const {
    return vanishing.isActive() || isSliderDown() || underMouse();
}

bool SlimScrollBar::event(QEvent* event) {
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
        update();
    }
    return QScrollBar::event(event);
}

void SlimScrollBar::paintEvent(QPaintEvent*) {
    if (minimum() == maximum() || !isThumbShown()) {
        return;
    }
    const auto whole = static_cast<double>(maximum() - minimum() + pageStep());
    const bool isVertical = orientation() == Qt::Vertical;
    const double track = isVertical ? height() : width();
    const double start = track * (value() - minimum()) / whole;
    const double length = track * pageStep() / whole;
    QRectF thumb =
        isVertical ? QRectF(1.5, start + 2, width() - 4, length - 4) : QRectF(start + 2, 1.5, length - 4, height() - 4);
    auto colour = Theme::of(palette()).secondaryText;
    colour.setAlphaF(isSliderDown() || underMouse() ? 0.8F : 0.6F);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(thumb, 2.0, 2.0);
}

} // namespace tavo
