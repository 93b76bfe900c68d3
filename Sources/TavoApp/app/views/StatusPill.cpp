#include "app/views/StatusPill.h"

#include "app/views/Theme.h"

#include <QPainter>

namespace tavo {

namespace {

constexpr double dotDiameter = 6.0;
constexpr int pillPaddingX = 8;
constexpr int pillPaddingY = 5;
constexpr int dotWordSpacing = 6;
constexpr float enabledTint = 0.14F;
constexpr float disabledTint = 0.12F;

} // namespace

StatusPill::StatusPill(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StatusPill::setStatus(const QString& newTitle, PillTone newTone) {
    word = newTitle;
    pillTone = newTone;
    setAccessibleName(word);
    updateGeometry();
    update();
}

QSize StatusPill::sizeHint() const {
    const QFontMetrics metrics(Typography::section(font()));
    return {metrics.horizontalAdvance(word) + static_cast<int>(dotDiameter) + dotWordSpacing + 2 * pillPaddingX,
            metrics.height() + 2 * pillPaddingY};
}

QColor StatusPill::colour() const {
    const auto& theme = Theme::of(palette());
    return pillTone == PillTone::enabled ? theme.positiveText : theme.secondaryText;
}

void StatusPill::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    auto tint = colour();
    tint.setAlphaF(pillTone == PillTone::enabled ? enabledTint : disabledTint);
    painter.setBrush(tint);
    painter.drawRoundedRect(rect(), height() / 2.0, height() / 2.0);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const double dotLeft = isMirrored ? width() - pillPaddingX - dotDiameter : pillPaddingX;
    painter.setBrush(colour());
    painter.drawEllipse(QRectF(dotLeft, (height() - dotDiameter) / 2, dotDiameter, dotDiameter));
    painter.setFont(Typography::section(font()));
    painter.setPen(colour());
    const int behindDot = pillPaddingX + static_cast<int>(dotDiameter) + dotWordSpacing;
    painter.drawText(
        isMirrored ? rect().adjusted(0, 0, -behindDot, 0) : rect().adjusted(behindDot, 0, 0, 0),
        static_cast<int>(Qt::AlignAbsolute | Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)), word);
}

} // namespace tavo
