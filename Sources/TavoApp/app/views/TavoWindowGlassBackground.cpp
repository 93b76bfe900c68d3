#include "app/views/TavoWindowGlassBackground.h"

#include "app/views/Theme.h"

#include <QPainter>

namespace tavo {

namespace {

/// Not every window system blurs the windows behind, and text has to be readable over them.
constexpr int tintOpacity = 244;

} // namespace

QColor TavoGlassTint::of(const QPalette& palette, bool isComposited) {
    auto tint = Theme::of(palette).window;
    tint.setAlpha(isComposited ? tintOpacity : 255);
    return tint;
}

TavoWindowGlassBackground::TavoWindowGlassBackground(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void TavoWindowGlassBackground::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), TavoGlassTint::of(palette(), isWindowSystemComposited()));
}

} // namespace tavo
