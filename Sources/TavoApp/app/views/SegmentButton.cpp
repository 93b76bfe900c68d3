#include "app/views/SegmentButton.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QPainter>

namespace tavo {

using namespace ControlPainting;

SegmentButton::SegmentButton(const QString& text, QWidget* parent) : QRadioButton(text, parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SegmentButton::sizeHint() const {
    const QFontMetrics metrics(Typography::emphasis(font()));
    return {metrics.horizontalAdvance(text()) + grown(16, *this), grown(23, *this)};
}

void SegmentButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChecked()) {
        // Weight alone is little to tell by.
        paintGround(painter, QRectF(rect()).adjusted(1, 2, -1, -2), radius - 2, theme.chosenSegment, {});
    }
    painter.setFont(isChecked() ? Typography::emphasis(font()) : font());
    painter.setPen(theme.controlText);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (hasFocus()) {
        paintFocusRing(painter, rect(), radius, theme);
    }
}

} // namespace tavo
