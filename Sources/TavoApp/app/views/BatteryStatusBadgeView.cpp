#include "app/views/BatteryStatusBadgeView.h"

#include "app/views/Theme.h"

#include <QPainter>
#include <algorithm>

namespace tavo {

namespace {

constexpr int batteryWidth = 26;
constexpr int batteryHeight = 12;
constexpr int batteryTextSpacing = 7;
constexpr double lowLevel = 0.2;

} // namespace

BatteryStatusBadgeView::BatteryStatusBadgeView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setPowerStatus({});
}

void BatteryStatusBadgeView::setPowerStatus(const PowerStatus& status) {
    badge.powerStatus = status;
    setAccessibleName(QString::fromStdString(summaryText(status)));
    updateGeometry();
    update();
}

QSize BatteryStatusBadgeView::sizeHint() const {
    const QFontMetrics metrics(Typography::caption(font()));
    return {batteryWidth + batteryTextSpacing + metrics.horizontalAdvance(text()),
            std::max(batteryHeight, metrics.height())};
}

void BatteryStatusBadgeView::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double left = isMirrored ? width() - batteryWidth : 0;
    const double top = (height() - batteryHeight) / 2.0;
    painter.setPen(QPen(theme.secondaryText, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(left + 0.5, top + 0.5, batteryWidth - 1, batteryHeight - 1), 3.5, 3.5);
    if (const auto level = badge.level()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(*level <= lowLevel ? theme.error : theme.switchOn);
        const double maxWidth = batteryWidth - 5;
        painter.drawRoundedRect(QRectF(left + 2.5, top + 2.5, std::max(1.5, maxWidth * *level), batteryHeight - 5), 1.5,
                                1.5);
    }
    painter.setFont(Typography::caption(font()));
    painter.setPen(theme.secondaryText);
    painter.drawText(
        rect(), static_cast<int>(Qt::AlignAbsolute | Qt::AlignVCenter | (isMirrored ? Qt::AlignLeft : Qt::AlignRight)),
        text());
}

} // namespace tavo
