#include "app/views/TavoAppIcon.h"

#include "app/views/DrawnIcon.h"

#include <QCoreApplication>
#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>

namespace tavo {

namespace {

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

constexpr double cornerShare = 0.22;

} // namespace

const QIcon& TavoAppIcon::image() {
    static const QIcon icon = load(
        QCoreApplication::applicationDirPath() + QStringLiteral("/../Resources/AppIcon.icns"), QLatin1String(drawing));
    return icon;
}

QIcon TavoAppIcon::load(const QString& bundleFile, const QString& drawingFile) {
    if (QFile::exists(bundleFile)) {
        QIcon icon(bundleFile);
        if (!icon.availableSizes().isEmpty()) {
            return icon;
        }
    }
    if (!QFile::exists(drawingFile) || !QSvgRenderer(drawingFile).isValid()) {
        return {};
    }
    return drawnIcon({16, 24, 32, 48, 64, 128, 256},
                     [drawingFile](int side) { return rendered(drawingFile, side, 1.0); });
}

AppIconView::AppIconView(int side, QWidget* parent) : QWidget(parent), side(side) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AppIconView::paintEvent(QPaintEvent*) {
    // The drawing has a margin, which icons on a desktop need and a view does not.
    constexpr double margin = 32.0 / 1024.0;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath corners;
    corners.addRoundedRect(rect(), side * cornerShare, side * cornerShare);
    painter.setClipPath(corners);
    const double spill = side * margin;
    QSvgRenderer(QLatin1String(TavoAppIcon::drawing))
        .render(&painter, QRectF(rect()).adjusted(-spill, -spill, spill, spill));
}

} // namespace tavo
