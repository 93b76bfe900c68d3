#include "app/views/DrawnIcon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>
#include <vector>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DrawnIconTest : public testing::Test {
protected:
    std::vector<int> drawn;
    QIcon icon = drawnIcon(
        {16, 24, 32},
        [this](int side) {
            drawn.push_back(side);
            QPixmap picture(side, side);
            picture.fill(side == 24 ? Qt::red : Qt::blue);
            return picture;
        },
        "a-name");
};

TEST_F(DrawnIconTest, NothingIsDrawnBeforeItIsShown) {
    EXPECT_FALSE(icon.isNull());
    EXPECT_THAT(icon.availableSizes(), ElementsAre(QSize(16, 16), QSize(24, 24), QSize(32, 32)));
    EXPECT_EQ(icon.name(), "a-name");
    EXPECT_EQ(icon.actualSize(QSize(20, 20)), QSize(20, 20));
    EXPECT_THAT(drawn, IsEmpty());
}

TEST_F(DrawnIconTest, OnlyThePictureOfTheSizeIsDrawn) {
    EXPECT_EQ(icon.pixmap(QSize(24, 24), 1.0).toImage().pixelColor(12, 12), QColor(Qt::red));
    EXPECT_THAT(drawn, ElementsAre(24));
}

TEST_F(DrawnIconTest, AnotherSizeIsScaledFromTheNextLargerOneAndNeverUp) {
    const auto between = icon.pixmap(QSize(20, 20), 1.0);
    EXPECT_EQ(between.size(), QSize(20, 20));
    EXPECT_EQ(between.toImage().pixelColor(10, 10), QColor(Qt::red));
    EXPECT_EQ(icon.pixmap(QSize(100, 100), 1.0).size(), QSize(32, 32));
    EXPECT_EQ(icon.actualSize(QSize(100, 100)), QSize(32, 32));
    EXPECT_THAT(drawn, ElementsAre(24, 32));
}

TEST_F(DrawnIconTest, PicturesAreKeptUntilThereIsNothingElseToDo) {
    const auto show = [this] { icon.pixmap(QSize(24, 24), 1.0); };
    show();
    QMetaObject::invokeMethod(QCoreApplication::instance(), show, Qt::QueuedConnection);
    QCoreApplication::sendPostedEvents();
    EXPECT_THAT(drawn, ElementsAre(24));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        show();
        return drawn.size() == 2;
    }));
}

TEST_F(DrawnIconTest, ACopyDrawsTheSame) {
    auto copy = icon;
    copy.addPixmap(QPixmap(8, 8)); // has it copy what it shares, and means nothing to this kind of icon
    EXPECT_EQ(copy.pixmap(QSize(24, 24), 1.0).toImage(), icon.pixmap(QSize(24, 24), 1.0).toImage());
    EXPECT_EQ(copy.availableSizes(), icon.availableSizes());
}

} // namespace
} // namespace tavo
