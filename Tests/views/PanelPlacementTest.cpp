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

TEST(PanelPlacement, StandsBesideABarAtTheSideOfTheScreen) {
    EXPECT_EQ(placed({4, 300, 22, 22}, {40, 0, 960, 800}), QPoint(44, 310 - 83));
    EXPECT_EQ(placed({974, 300, 22, 22}, {0, 0, 960, 800}), QPoint(960 - 4 - 280, 310 - 83));
    EXPECT_EQ(placed({4, 770, 22, 22}, {40, 0, 960, 800}), QPoint(44, 800 - 4 - 166));
}

TEST(PanelPlacement, ThePointerStandsInForAnIconWhosePlaceIsUnknown) {
    EXPECT_EQ(placed({600, 780, 1, 1}, aboveBar), QPoint(460, 760 - 4 - 166));
    EXPECT_EQ(placed({600, 10, 1, 1}, belowBar), QPoint(460, 34));
}

TEST(PanelPlacement, ABarThatReservesNothingIsAtTheNearestEdge) {
    EXPECT_EQ(placed({600, 780, 1, 1}, screen), QPoint(460, 780 - 4 - 166));
    EXPECT_EQ(placed({600, 10, 1, 1}, screen), QPoint(460, 15));
    EXPECT_EQ(placed({20, 500, 1, 1}, screen), QPoint(25, 417));
    EXPECT_EQ(placed({980, 500, 1, 1}, screen), QPoint(980 - 4 - 280, 417));
    EXPECT_EQ(placed({990, 780, 1, 1}, screen), QPoint(716, 780 - 4 - 166)) << "a corner belongs to the horizontal bar";
}

TEST(PanelPlacement, StandsOnTheAnchorsOwnScreen) {
    const QRect second(1000, 200, 800, 600);
    EXPECT_EQ(panelPosition({1790, 790, 1, 1}, second, second, panel, Qt::LeftToRight),
              QPoint(1800 - 4 - 280, 790 - 4 - 166));
}

TEST(PanelPlacement, OnAScreenThatIsTooSmallItsUpperLeftCornerIsSeen) {
    const QRect tiny(100, 50, 200, 100);
    EXPECT_EQ(panelPosition({}, tiny, tiny, panel, Qt::LeftToRight), QPoint(104, 54));
}

} // namespace
} // namespace tavo
