#include "app/views/SwitchControl.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QPainter>

namespace tavo {

using namespace ControlPainting;

SwitchControl::SwitchControl(QWidget* parent) : QCheckBox(parent) {
    setCursor(Qt::ArrowCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchControl::sizeHint() const {
    return {grown(34, *this), grown(20, *this)};
}

void SwitchControl::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) {
        painter.setOpacity(disabledOpacity);
    }
    const QRectF track(rect());
    const double roundness = track.height() / 2;
    paintGround(painter, track, roundness, isChecked() ? theme.switchOn : theme.switchOff, {});
    const double knob = track.height() - 4;
    const bool isAtEnd = isChecked() != (layoutDirection() == Qt::RightToLeft);
    const double left = isAtEnd ? track.right() - 2 - knob : track.left() + 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(QRectF(left, track.top() + 2.5, knob, knob));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(left, track.top() + 2, knob, knob));
    focusRing.paint(painter, track, roundness - 1);
}

} // namespace tavo
