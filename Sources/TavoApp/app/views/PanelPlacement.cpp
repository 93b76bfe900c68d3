#include "app/views/PanelPlacement.h"

#include <algorithm>

namespace tavo {

namespace {

constexpr int gap = 4;

/// Bars are thinner than this. Where two meet in a corner, the horizontal one is more likely to have the tray.
constexpr int maxBarThickness = 64;

/// The edge of the screen that the bar with the anchor runs along.
Qt::Edge edgeOfBar(const QPoint& anchor, const QRect& screen, const QRect& available) {
    if (anchor.y() < available.top()) {
        return Qt::TopEdge;
    }
    if (anchor.y() > available.bottom()) {
        return Qt::BottomEdge;
    }
    if (anchor.x() < available.left()) {
        return Qt::LeftEdge;
    }
    if (anchor.x() > available.right()) {
        return Qt::RightEdge;
    }
    // A bar that reserves no space, such as one that hides itself.
    const int above = anchor.y() - screen.top();
    const int below = screen.bottom() - anchor.y();
    const int left = anchor.x() - screen.left();
    const int right = screen.right() - anchor.x();
    if (std::min(above, below) >= maxBarThickness && std::min(left, right) < maxBarThickness) {
        return left < right ? Qt::LeftEdge : Qt::RightEdge;
    }
    return above <= below ? Qt::TopEdge : Qt::BottomEdge;
}

} // namespace

QPoint panelPosition(const QRect& anchor, const QRect& screen, const QRect& available, const QSize& panel,
                     Qt::LayoutDirection direction) {
    const int leftmost = available.left() + gap;
    const int rightmost = std::max(leftmost, available.right() + 1 - gap - panel.width());
    const int topmost = available.top() + gap;
    const int lowest = std::max(topmost, available.bottom() + 1 - gap - panel.height());
    if (anchor.isEmpty()) {
        const bool isBarBelow = available.bottom() < screen.bottom() && available.top() == screen.top();
        return {direction == Qt::RightToLeft ? leftmost : rightmost, isBarBelow ? lowest : topmost};
    }
    int x = anchor.center().x() - panel.width() / 2;
    int y = anchor.center().y() - panel.height() / 2;
    switch (edgeOfBar(anchor.center(), screen, available)) {
    case Qt::TopEdge:
        y = anchor.bottom() + 1 + gap;
        break;
    case Qt::BottomEdge:
        y = anchor.top() - gap - panel.height();
        break;
    case Qt::LeftEdge:
        x = anchor.right() + 1 + gap;
        break;
    case Qt::RightEdge:
        x = anchor.left() - gap - panel.width();
        break;
    }
    return {std::clamp(x, leftmost, rightmost), std::clamp(y, topmost, lowest)};
}

} // namespace tavo
