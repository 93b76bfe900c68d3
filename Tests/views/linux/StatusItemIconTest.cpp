#include "app/views/StatusItemIcon.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <cstdlib>

namespace tavo {
namespace {

QImage imageOf(bool isHeld, int side) {
    return statusItemIcon(isHeld, Qt::black)
        .pixmap(QSize(side, side), 1.0)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

/// How many pixels stand out clearly from a ground.
int pixelsSeenOn(const QColor& ground, const QImage& icon) {
    QImage picture(icon.size(), QImage::Format_RGB32);
    picture.fill(ground);
    QPainter(&picture).drawImage(0, 0, icon);
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            count += std::abs(qGray(picture.pixel(x, y)) - qGray(ground.rgb())) > 128 ? 1 : 0;
        }
    }
    return count;
}

/// A folder of data, beside which there is no other one.
class StatusItemIconTest : public testing::Test {
protected:
    StatusItemIconTest() {
        setenv("XDG_DATA_HOME", (folder.path() / "none").c_str(), 1);
        setenv("XDG_DATA_DIRS", folder.path().c_str(), 1);
    }

    ~StatusItemIconTest() override {
        unsetenv("XDG_DATA_HOME");
        unsetenv("XDG_DATA_DIRS");
    }

    const TemporaryDirectory folder;
};

TEST_F(StatusItemIconTest, ItCanBeSeenOnBlackAndOnWhite) {
    for (const bool isHeld : {true, false}) {
        for (const int side : {16, 22, 24, 48}) {
            const auto icon = imageOf(isHeld, side);
            for (const auto& ground : {QColor(Qt::black), QColor(Qt::white)}) {
                EXPECT_GT(pixelsSeenOn(ground, icon), side * 2)
                    << isHeld << " " << side << " on " << qGray(ground.rgb());
            }
        }
    }
}

TEST_F(StatusItemIconTest, WhetherItIsHeldIsSeenByTheShape) {
    for (const int side : {16, 22, 48}) {
        EXPECT_GT(qAlpha(imageOf(true, side).pixel(side / 2, side / 2)), 200) << side;
        EXPECT_EQ(qAlpha(imageOf(false, side).pixel(side / 2, side / 2)), 0) << side;
    }
}

TEST_F(StatusItemIconTest, WhereItIsInstalledPanelsGetItsNameAndThePicturesToo) {
    EXPECT_EQ(statusItemIcon(true, Qt::black).name(), "") << "not installed";
    for (const auto* const name : {"com.vrd.tavo-awake-symbolic", "com.vrd.tavo-idle-symbolic"}) {
        folder.write(std::string("icons/hicolor/symbolic/apps/") + name + ".svg", "<svg/>");
    }
    const auto held = statusItemIcon(true, Qt::black);
    EXPECT_EQ(held.name(), "com.vrd.tavo-awake-symbolic");
    EXPECT_EQ(statusItemIcon(false, Qt::black).name(), "com.vrd.tavo-idle-symbolic");
    EXPECT_TRUE(held.availableSizes().contains(QSize(22, 22)));
    const QIcon copy = held; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.pixmap(QSize(22, 22), 1.0).toImage().convertToFormat(QImage::Format_ARGB32), imageOf(true, 22));
}

} // namespace
} // namespace tavo
