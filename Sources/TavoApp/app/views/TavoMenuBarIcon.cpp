#include "app/views/TavoMenuBarIcon.h"

#include "app/views/Symbol.h"

#include <QPainter>
#include <initializer_list>

namespace tavo {

namespace {

const QString seal = QStringLiteral(":/tavo/symbols/seal.fill.svg");

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
    // Trays ask for these as well, and would blur another size.
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        icon.addPixmap(pixmap(QLatin1String(drawing), side, colour, isWakeAssertionActive ? heldOpacity : idleOpacity));
    }
    icon.setIsMask(true);
    return icon;
}

} // namespace tavo
