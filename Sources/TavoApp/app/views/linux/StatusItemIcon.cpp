#include "app/views/StatusItemIcon.h"

#include "app/views/Symbol.h"
#include "app/views/TavoMenuBarIcon.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QStandardPaths>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>
#include <utility>

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

/// A tray that finds the name in the icon theme draws that icon in its own colours; others show the pictures.
class NamedIconEngine final : public QIconEngine {
public:
    NamedIconEngine(QIcon pictures, QString name) : pictures(std::move(pictures)), name(std::move(name)) {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode, QIcon::State state) override {
        pictures.paint(painter, place, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return pictures.pixmap(size, 1.0, mode, state);
    }
    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return pictures.actualSize(size, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
        return pictures.availableSizes(mode, state);
    }
    QString iconName() override { return name; }
    bool isNull() override { return pictures.isNull(); }
    QString key() const override { return QStringLiteral("tavo-status-item"); }
    QIconEngine* clone() const override { return new NamedIconEngine(pictures, name); }

private:
    QIcon pictures;
    QString name;
};

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
    QIcon pictures;
    for (const int side : {16, 18, 22, 24, 32, 36, 48, 64}) {
        pictures.addPixmap(
            drawn(name, side, isWakeAssertionActive ? TavoMenuBarIcon::heldOpacity : TavoMenuBarIcon::idleOpacity));
    }
    return isInstalled(name) ? QIcon(new NamedIconEngine(pictures, name)) : pictures;
}

} // namespace tavo
