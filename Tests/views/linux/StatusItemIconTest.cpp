#include "app/views/StatusItemIcon.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <vector>

namespace tavo {
namespace {

QImage imageOf(bool isHeld, int side) {
    return statusItemIcon(isHeld, Qt::black)
        .pixmap(QSize(side, side), 1.0)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

const std::vector<QColor> grounds{Qt::black, Qt::white};

/// For each pixel, whether it stands out clearly from a ground.
std::vector<bool> seenOn(const QColor& ground, const QImage& icon) {
    QImage picture(icon.size(), QImage::Format_RGB32);
    picture.fill(ground);
    QPainter(&picture).drawImage(0, 0, icon);
    std::vector<bool> seen;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            seen.push_back(std::abs(qGray(picture.pixel(x, y)) - qGray(ground.rgb())) > 96);
        }
    }
    return seen;
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
            for (const auto& ground : grounds) {
                const auto seen = seenOn(ground, imageOf(isHeld, side));
                EXPECT_GT(std::count(seen.begin(), seen.end(), true), side * 2)
                    << isHeld << " " << side << " on " << qGray(ground.rgb());
            }
        }
    }
}

TEST_F(StatusItemIconTest, WhetherItIsHeldIsSeenInItsMiddleByTheShape) {
    for (const int side : {16, 22, 24, 48}) {
        for (const auto& ground : grounds) {
            const auto held = seenOn(ground, imageOf(true, side));
            const auto idle = seenOn(ground, imageOf(false, side));
            int different = 0;
            for (int y = side / 4; y < side * 3 / 4; ++y) {
                for (int x = side / 4; x < side * 3 / 4; ++x) {
                    const auto pixel = static_cast<std::size_t>(y * side + x);
                    different += held[pixel] != idle[pixel] ? 1 : 0;
                }
            }
            EXPECT_GT(different, side * side / 4 / 6) << side << " on " << qGray(ground.rgb());
        }
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
