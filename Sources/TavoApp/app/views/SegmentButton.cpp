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
    // Wide enough for the bold text of the chosen one, so that choosing moves nothing.
    const QFontMetrics metrics(Typography::button(font()));
    return {metrics.horizontalAdvance(text()) + grown(16, *this), grown(23, *this)};
}

void SegmentButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(isChecked() ? Typography::button(font()) : Typography::control(font()));
    painter.setPen(theme.controlText);
    painter.drawText(rect(), Qt::AlignCenter, text());
    focusRing.paint(painter, rect(), radius);
}

} // namespace tavo
