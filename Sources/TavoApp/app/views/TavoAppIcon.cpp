#include "app/views/TavoAppIcon.h"

#include "app/views/Symbol.h"

#include <QCoreApplication>
#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>
#include <initializer_list>

namespace tavo {

namespace {

const QString drawing = QStringLiteral(":/tavo/app-icon.svg");
const QString bottleCap = QStringLiteral(":/tavo/soda-cap.svg");
const QString seal = QStringLiteral(":/tavo/symbols/seal.fill.svg");

constexpr double cornerShare = 0.22;
const QColor capColour(0xF0, 0x53, 0x3D);

QPixmap rendered(const QString& file, int side, double ratio) {
    QSvgRenderer renderer(file);
    const int pixels = static_cast<int>(side * ratio);
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace

const QIcon& TavoAppIcon::image() {
    static const QIcon icon =
        load(QCoreApplication::applicationDirPath() + QStringLiteral("/../Resources/AppIcon.icns"), drawing);
    return icon;
}

QIcon TavoAppIcon::load(const QString& bundleFile, const QString& drawing) {
    if (QFile::exists(bundleFile)) {
        QIcon icon(bundleFile);
        if (!icon.availableSizes().isEmpty()) {
            return icon;
        }
    }
    QIcon icon;
    if (QFile::exists(drawing) && QSvgRenderer(drawing).isValid()) {
        for (const int side : {16, 24, 32, 48, 64, 128, 256}) {
            icon.addPixmap(rendered(drawing, side, 1.0));
        }
    }
    return icon;
}

QPixmap TavoMenuBarIcon::pixmap(const QString& drawing, int side, const QColor& colour, double opacity) {
    auto shape = templatePixmap(drawing, side, colour, 1.0);
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
        icon.addPixmap(pixmap(bottleCap, size * factor, colour, isWakeAssertionActive ? heldOpacity : idleOpacity));
    }
    // Trays ask for these as well, and would blur another size.
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        icon.addPixmap(pixmap(bottleCap, side, colour, isWakeAssertionActive ? heldOpacity : idleOpacity));
    }
    icon.setIsMask(true);
    return icon;
}

AppIconView::AppIconView(int side, QWidget* parent) : QWidget(parent), side(side) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AppIconView::paintEvent(QPaintEvent*) {
    // The drawing has a margin, which icons on a desktop need and one in a row does not.
    constexpr double margin = 32.0 / 1024.0;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath corners;
    corners.addRoundedRect(rect(), side * cornerShare, side * cornerShare);
    painter.setClipPath(corners);
    const double spill = side * margin;
    QSvgRenderer(drawing).render(&painter, QRectF(rect()).adjusted(-spill, -spill, spill, spill));
}

BottleCapView::BottleCapView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void BottleCapView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawPixmap(0, 0, templatePixmap(bottleCap, width(), capColour, devicePixelRatioF()));
}

} // namespace tavo
