#include "app/views/Symbol.h"

#include "app/views/macos/NativeSymbol.h"

#include <QImage>

namespace tavo {

QPixmap systemSymbol(const QString& name, int pixels, const QColor& colour) {
    const auto coverage = nativeSymbolCoverage(name.toStdString(), pixels);
    if (coverage.empty()) {
        return {};
    }
    QImage image(pixels, pixels, QImage::Format_ARGB32);
    for (int y = 0; y < pixels; ++y) {
        for (int x = 0; x < pixels; ++x) {
            auto point = colour;
            point.setAlpha(coverage[static_cast<std::size_t>(y * pixels + x)]);
            image.setPixelColor(x, y, point);
        }
    }
    return QPixmap::fromImage(image);
}

} // namespace tavo
