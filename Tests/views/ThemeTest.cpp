#include "app/views/Theme.h"

#include "app/views/TavoWindowGlassBackground.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tavo {
namespace {

double channel(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

/// Relative luminance, Web Content Accessibility Guidelines 2.1.
double luminance(const QColor& colour) {
    return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) + 0.0722 * channel(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

/// A tint over a ground.
QColor over(const QColor& tint, double opacity, const QColor& ground) {
    const auto mix = [&](int top, int bottom) {
        return static_cast<int>(std::lround(top * opacity + bottom * (1 - opacity)));
    };
    return {mix(tint.red(), ground.red()), mix(tint.green(), ground.green()), mix(tint.blue(), ground.blue())};
}

TEST(Theme, TextIsReadableOnItsBackground) {
    for (const auto* const theme : {&Theme::light(), &Theme::dark()}) {
        SCOPED_TRACE(theme->isDark ? "dark" : "light");
        struct Row {
            const char* what;
            QColor text;
            QColor ground;
        };
        const std::vector<Row> rows{
            {"text", theme->text, theme->window},
            {"text in a card", theme->text, theme->card},
            {"details", theme->secondaryText, theme->window},
            {"details in a card", theme->secondaryText, theme->card},
            {"a button", theme->controlText, theme->control},
            {"a placeholder", theme->secondaryText, theme->control},
            {"what is accented", theme->onColour, theme->accent},
            {"what switches on", theme->onColour, theme->positive},
            {"a warning", theme->warning, theme->window},
            {"an error", theme->error, theme->window},
            {"on", theme->positiveText, over(theme->positiveText, 0.14, theme->window)},
            {"paused", theme->secondaryText, over(theme->secondaryText, 0.12, theme->window)},
        };
        for (const auto& row : rows) {
            EXPECT_GE(contrast(row.text, row.ground), 4.5) << row.what;
        }
    }
}

TEST(Theme, IsFoundAgainFromItsPalette) {
    EXPECT_EQ(&Theme::of(Theme::light().palette()), &Theme::light());
    EXPECT_EQ(&Theme::of(Theme::dark().palette()), &Theme::dark());
}

TEST(Theme, TheGlassIsOpaqueWhereNothingShowsThrough) {
    for (const auto* const theme : {&Theme::light(), &Theme::dark()}) {
        EXPECT_EQ(TavoGlassTint::of(theme->palette(), false), theme->window);
        const auto glass = TavoGlassTint::of(theme->palette(), true);
        EXPECT_LT(glass.alpha(), 255);
        EXPECT_EQ(glass.rgb() | 0xFF000000, theme->window.rgb());
    }
}

TEST(Typography, LengthsGrowWithTheFontAndNeverShrink) {
    QFont font;
    font.setPixelSize(13);
    EXPECT_DOUBLE_EQ(Typography::scale(font), 1.0);
    font.setPixelSize(26);
    EXPECT_DOUBLE_EQ(Typography::scale(font), 2.0);
    font.setPixelSize(9);
    EXPECT_DOUBLE_EQ(Typography::scale(font), 1.0);
}

} // namespace
} // namespace tavo
