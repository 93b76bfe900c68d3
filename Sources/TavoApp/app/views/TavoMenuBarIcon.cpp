#include "app/views/TavoMenuBarIcon.h"

#include "app/views/Symbol.h"

#include <QPainter>
#include <initializer_list>

namespace tavo {

namespace {

const QString seal = QStringLiteral(":/tavo/symbols/seal.fill.svg");

const QColor capColour(0xF0, 0x53, 0x3D);

/// Share of the width: the ring of the drawing ends at 11.2 of 18, its teeth begin at 15.
constexpr double whiteShare = 13.0 / 18.0;

} // namespace

QPixmap TavoMenuBarIcon::pixmap(const QString& drawingFile, int side, const QColor& colour, double opacity) {
    auto shape = templatePixmap(drawingFile, side, colour, 1.0);
    if (shape.isNull()) {
        shape = templatePixmap(seal, side, colour, 1.0);
    }
    QPixmap dimmed(side, side);
    dimmed.fill(Qt::transparent);
    QPainter painter(&dimmed);
    painter.setOpacity(opacity);
    painter.drawPixmap(0, 0, shape);
    return dimmed;
}

QIcon TavoMenuBarIcon::image(bool isWakeAssertionActive, const QColor& colour) {
    QIcon icon;
    for (const int factor : {1, 2, 3}) {
        icon.addPixmap(
            pixmap(QLatin1String(drawing), size * factor, colour, isWakeAssertionActive ? heldOpacity : idleOpacity));
    }
    // Trays ask for these sizes, too, and would blur others.
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        icon.addPixmap(pixmap(QLatin1String(drawing), side, colour, isWakeAssertionActive ? heldOpacity : idleOpacity));
    }
    icon.setIsMask(true);
    return icon;
}

BottleCapView::BottleCapView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void BottleCapView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The cut-outs of the cap are white on every background. The disc ends within the cap.
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    const double radius = width() * whiteShare / 2;
    painter.drawEllipse(QRectF(rect()).center(), radius, radius);
    painter.drawPixmap(
        0, 0, templatePixmap(QLatin1String(TavoMenuBarIcon::drawing), width(), capColour, devicePixelRatioF()));
}

} // namespace tavo
