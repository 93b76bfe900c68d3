#include "app/views/PanelPlacement.h"

#include <algorithm>

namespace tavo {

namespace {

constexpr int gap = 4;

} // namespace

QPoint panelPosition(const QRect& icon, const QRect& screen, const QRect& available, const QSize& panel,
                     Qt::LayoutDirection direction) {
    const int leftmost = available.left() + gap;
    const int rightmost = std::max(leftmost, available.right() + 1 - gap - panel.width());
    const int topmost = available.top() + gap;
    const int lowest = std::max(topmost, available.bottom() + 1 - gap - panel.height());
    if (icon.isEmpty()) {
        const bool isBarBelow = available.bottom() < screen.bottom() && available.top() == screen.top();
        return {direction == Qt::RightToLeft ? leftmost : rightmost, isBarBelow ? lowest : topmost};
    }
    const int centred = icon.center().x() - panel.width() / 2;
    const bool isInLowerHalf = icon.center().y() > screen.center().y();
    const int beside = isInLowerHalf ? icon.top() - gap - panel.height() : icon.bottom() + 1 + gap;
    return {std::clamp(centred, leftmost, rightmost), std::clamp(beside, topmost, lowest)};
}

} // namespace tavo
