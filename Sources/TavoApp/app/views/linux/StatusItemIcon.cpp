#include "app/views/StatusItemIcon.h"

#include "app/views/DrawnIcon.h"
#include "app/views/Symbol.h"
#include "app/views/TavoMenuBarIcon.h"

#include <QFile>
#include <QPainter>
#include <QStandardPaths>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavo {

namespace {

/// The panel's background is unknown, and often differs from that of windows: light ink with a dark edge is visible on
/// both.
constexpr QColor ink(0xFF, 0xFF, 0xFF);
constexpr QColor edge(0x20, 0x20, 0x20);

/// Width of the edge, as a share of the icon's side.
constexpr double edgeWidth = 1.0 / 20;

QPixmap drawn(const QString& name, int side, double opacity) {
    const double width = std::max(1.0, side * edgeWidth);
    const int margin = static_cast<int>(std::ceil(width));
    const auto drawing = QStringLiteral(":/tavo/%1.svg").arg(name);
    const auto shape = templatePixmap(drawing, side - 2 * margin, ink, 1.0);
    const auto shadow = templatePixmap(drawing, side - 2 * margin, edge, 1.0);
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    constexpr int directions = 16;
    for (int direction = 0; direction < directions; ++direction) {
        const double angle = 2 * std::numbers::pi * direction / directions;
        painter.drawPixmap(QPointF(margin + width * std::cos(angle), margin + width * std::sin(angle)), shadow);
    }
    painter.drawPixmap(margin, margin, shape);
    painter.end();
    QPixmap dimmed(side, side);
    dimmed.fill(Qt::transparent);
    painter.begin(&dimmed);
    painter.setOpacity(opacity);
    painter.drawPixmap(0, 0, picture);
    return dimmed;
}

/// Whether panels find it: they search the same folders, and not those of a program that was not installed.
bool isInstalled(const QString& name) {
    return !QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                   QStringLiteral("icons/hicolor/symbolic/apps/%1.svg").arg(name))
                .isEmpty();
}

} // namespace

QIcon statusItemIcon(bool isWakeAssertionActive, const QColor&) {
    const auto name = isWakeAssertionActive ? QStringLiteral("com.vrd.tavo-awake-symbolic")
                                            : QStringLiteral("com.vrd.tavo-idle-symbolic");
    const double opacity = isWakeAssertionActive ? TavoMenuBarIcon::heldOpacity : TavoMenuBarIcon::idleOpacity;
    // A tray that finds the name in the icon theme draws that icon in its own colours; others show the pictures.
    return drawnIcon(
        {16, 18, 22, 24, 32, 36, 48, 64}, [=](int side) { return drawn(name, side, opacity); },
        isInstalled(name) ? name : QString());
}

} // namespace tavo
