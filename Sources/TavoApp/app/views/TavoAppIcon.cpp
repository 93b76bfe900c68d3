#include "app/views/TavoAppIcon.h"

#include <QCoreApplication>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <initializer_list>

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
    QIcon icon;
    if (QFile::exists(drawingFile) && QSvgRenderer(drawingFile).isValid()) {
        for (const int side : {16, 24, 32, 48, 64, 128, 256}) {
            icon.addPixmap(rendered(drawingFile, side, 1.0));
        }
    }
    return icon;
}

} // namespace tavo
