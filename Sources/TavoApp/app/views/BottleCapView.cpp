#include "app/views/BottleCapView.h"

#include "app/views/Symbol.h"
#include "app/views/TavoMenuBarIcon.h"

#include <QPainter>

namespace tavo {

namespace {

const QColor capColour(0xF0, 0x53, 0x3D);

} // namespace

BottleCapView::BottleCapView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void BottleCapView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawPixmap(
        0, 0, templatePixmap(QLatin1String(TavoMenuBarIcon::drawing), width(), capColour, devicePixelRatioF()));
}

} // namespace tavo
