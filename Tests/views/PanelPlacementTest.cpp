#include "app/views/PanelPlacement.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

constexpr QRect screen(0, 0, 1000, 800);
constexpr QRect belowBar(0, 30, 1000, 770);
constexpr QRect aboveBar(0, 0, 1000, 760);
constexpr QSize panel(280, 166);

QPoint placed(const QRect& icon, const QRect& available, Qt::LayoutDirection direction = Qt::LeftToRight) {
    return panelPosition(icon, screen, available, panel, direction);
}

TEST(PanelPlacement, StandsBelowAnIconAboveAndAboveAnIconBelow) {
    EXPECT_EQ(placed({500, 4, 22, 22}, belowBar), QPoint(510 - 140, 34));
    EXPECT_EQ(placed({500, 770, 22, 22}, aboveBar), QPoint(510 - 140, 760 - 4 - 166));
}

TEST(PanelPlacement, StaysWithinTheScreen) {
    EXPECT_EQ(placed({970, 4, 22, 22}, belowBar).x(), 1000 - 4 - 280);
    EXPECT_EQ(placed({2, 4, 22, 22}, belowBar).x(), 4);
}

TEST(PanelPlacement, WithoutAnIconItStandsInTheCornerNearestTheTray) {
    EXPECT_EQ(placed({}, belowBar), QPoint(716, 34));
    EXPECT_EQ(placed({}, aboveBar), QPoint(716, 590));
    EXPECT_EQ(placed({}, screen), QPoint(716, 4));
    EXPECT_EQ(placed({}, belowBar, Qt::RightToLeft), QPoint(4, 34));
}

TEST(PanelPlacement, OnAScreenThatIsTooSmallItsUpperLeftCornerIsSeen) {
    const QRect tiny(100, 50, 200, 100);
    EXPECT_EQ(panelPosition({}, tiny, tiny, panel, Qt::LeftToRight), QPoint(104, 54));
}

} // namespace
} // namespace tavo
