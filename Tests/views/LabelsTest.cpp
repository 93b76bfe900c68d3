#include "app/views/Labels.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

namespace tavo {
namespace {

const QChar ellipsis(0x2026);

/// The text of the tooltip that the label shows, empty when it shows none.
QString toolTipOf(ElidedLabel& label) {
    QToolTip::hideText();
    label.show();
    QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), label.mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(&label, &help);
    return QToolTip::isVisible() ? QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText() : QString();
}

/// The middle of what is painted, as a share of the width.
double middleOfInk(const ElidedLabel& label) {
    auto& painted = const_cast<ElidedLabel&>(label);
    const auto image = painted.grab().toImage();
    const auto ground = image.pixel(image.width() / 2, 0);
    int first = image.width();
    int last = 0;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixel(x, y) != ground) {
                first = std::min(first, x);
                last = std::max(last, x);
            }
        }
    }
    return (first + last) / 2.0 / image.width();
}

TEST(ElidedLabel, WhatFitsIsShownWithoutATooltip) {
    ElidedLabel label("paused");
    label.resize(200, 20);
    EXPECT_EQ(label.shownText(), "paused");
    EXPECT_EQ(toolTipOf(label), "");
}

TEST(ElidedLabel, WhatDoesNotFitEndsInAnEllipsisAndTheTooltipHasTheWhole) {
    const QString whole = "waiting for a <b>command</b> of some length";
    ElidedLabel label(whole);
    label.resize(90, 20);
    EXPECT_TRUE(label.shownText().startsWith("waiting"));
    EXPECT_TRUE(label.shownText().endsWith(ellipsis));
    EXPECT_LE(QFontMetrics(label.font()).horizontalAdvance(label.shownText()), 90);
    EXPECT_EQ(toolTipOf(label), whole);
    EXPECT_EQ(label.text(), whole) << "whoever hears the screen hears it all";
    EXPECT_LT(label.minimumSizeHint().width(), 30);
}

TEST(ElidedLabel, InSeveralRowsItBreaksBetweenWordsAndElidesAWordThatIsTooWide) {
    const QString longWord(60, 'x');
    ElidedLabel label("waiting for " + longWord, nullptr, 3);
    label.resize(120, 60);
    const auto rows = label.shownText().split('\n');
    EXPECT_EQ(rows.front(), "waiting for");
    ASSERT_EQ(rows.size(), 2);
    EXPECT_TRUE(rows.back().startsWith("xx"));
    EXPECT_TRUE(rows.back().endsWith(ellipsis));
    EXPECT_EQ(label.heightForWidth(120), 2 * QFontMetrics(label.font()).lineSpacing());
    EXPECT_EQ(toolTipOf(label), "waiting for " + longWord);
}

TEST(ElidedLabel, ItTakesNoMoreRowsThanItMay) {
    ElidedLabel label("one two three four five six seven eight nine ten eleven twelve thirteen", nullptr, 3);
    label.resize(80, 60);
    const auto rows = label.shownText().split('\n');
    EXPECT_EQ(rows.size(), 3);
    EXPECT_TRUE(rows.back().endsWith(ellipsis));
    EXPECT_EQ(label.heightForWidth(2000), QFontMetrics(label.font()).lineSpacing());
}

TEST(ElidedLabel, StandsWhereALineOfTheLayoutBegins) {
    ElidedLabel label("details");
    label.resize(300, 20);
    EXPECT_LT(middleOfInk(label), 0.3);
    label.setLayoutDirection(Qt::RightToLeft);
    EXPECT_GT(middleOfInk(label), 0.7);
}

} // namespace
} // namespace tavo
