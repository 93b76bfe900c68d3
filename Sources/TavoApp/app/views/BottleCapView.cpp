#include "app/views/BottleCapView.h"

#include "app/views/Symbol.h"
#include "app/views/TavoMenuBarIcon.h"

#include <QPainter>

namespace tavo {

namespace {

const QColor capColour(0xF0, 0x53, 0x3D);

/// Of the width: the ring of the drawing reaches as far as 11.2 of 18, its teeth begin at 15.
constexpr double whiteShare = 13.0 / 18.0;

} // namespace

BottleCapView::BottleCapView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void BottleCapView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The cut-outs of the cap are white on every ground. The disc ends within the cap.
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    const double radius = width() * whiteShare / 2;
    painter.drawEllipse(QRectF(rect()).center(), radius, radius);
    painter.drawPixmap(
        0, 0, templatePixmap(QLatin1String(TavoMenuBarIcon::drawing), width(), capColour, devicePixelRatioF()));
}

} // namespace tavo
