#include "app/views/TavoWindowGlassBackground.h"

#include "app/views/TavoGlassTint.h"

#include <QPainter>

namespace tavo {

TavoWindowGlassBackground::TavoWindowGlassBackground(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void TavoWindowGlassBackground::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), TavoGlassTint::of(palette(), isWindowSystemComposited()));
}

} // namespace tavo
