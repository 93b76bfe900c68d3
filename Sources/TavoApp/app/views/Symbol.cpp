#include "app/views/Symbol.h"

#include "app/views/Theme.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>
#include <utility>

namespace tavo {

namespace {

constexpr int drawnSize = 16;

} // namespace

QPixmap templatePixmap(const QString& file, int size, const QColor& colour, double ratio) {
    QSvgRenderer renderer;
    if (!QFile::exists(file) || !renderer.load(file)) {
        return {};
    }
    const int pixels = static_cast<int>(std::lround(size * ratio));
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

QPixmap symbolPixmap(const QString& name, int size, const QColor& colour, double ratio) {
    if (auto own = systemSymbol(name, static_cast<int>(std::lround(size * ratio)), colour); !own.isNull()) {
        own.setDevicePixelRatio(ratio);
        return own;
    }
    return templatePixmap(QStringLiteral(":/tavo/symbols/%1.svg").arg(name), size, colour, ratio);
}

SymbolView::SymbolView(QString name, QWidget* parent) : QWidget(parent), symbol(std::move(name)) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

QSize SymbolView::sizeHint() const {
    const int side = static_cast<int>(std::lround(drawnSize * Typography::scale(font())));
    return {side, side};
}

void SymbolView::setName(const QString& name) {
    symbol = name;
    update();
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawPixmap(0, 0, symbolPixmap(symbol, width(), Theme::of(palette()).secondaryText, devicePixelRatioF()));
}

} // namespace tavo
