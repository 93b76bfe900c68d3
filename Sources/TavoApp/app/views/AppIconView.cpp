#include "app/views/AppIconView.h"

#include "app/views/TavoAppIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>

namespace tavo {

namespace {

constexpr double cornerShare = 0.22;

} // namespace

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
    QSvgRenderer(QLatin1String(TavoAppIcon::drawing))
        .render(&painter, QRectF(rect()).adjusted(-spill, -spill, spill, spill));
}

} // namespace tavo
