#include "Support/TemporaryDirectory.h"
#include "app/views/Symbol.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/TavoMenuBarIcon.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

/// The strongest opacity of any of the pixels.
int strongest(const QImage& image) {
    int alpha = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            alpha = std::max(alpha, qAlpha(image.pixel(x, y)));
        }
    }
    return alpha;
}

QImage imageOf(const QIcon& icon, int side) {
    return icon.pixmap(QSize(side, side), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
}

TEST(MenuBarIcon, IsDimmedUnlessAnAssertionIsHeld) {
    EXPECT_EQ(strongest(imageOf(TavoMenuBarIcon::image(true, Qt::black), 36)), 255);
    EXPECT_NEAR(strongest(imageOf(TavoMenuBarIcon::image(false, Qt::black), 36)), 0.72 * 255, 2);
}

TEST(MenuBarIcon, IsATemplateInTheColourOfItsSurroundings) {
    const auto icon = TavoMenuBarIcon::image(true, QColor(10, 200, 30));
    EXPECT_TRUE(icon.isMask());
    const auto image = imageOf(icon, 54);
    bool hasInk = false;
    for (int x = 0; x < image.width(); ++x) {
        if (qAlpha(image.pixel(x, 27)) == 255) {
            hasInk = true;
            EXPECT_EQ(image.pixelColor(x, 27), QColor(10, 200, 30));
        }
    }
    EXPECT_TRUE(hasInk);
}

TEST(MenuBarIcon, WithoutItsDrawingItIsAPlainSeal) {
    const auto seal = TavoMenuBarIcon::pixmap("/nowhere/soda-cap.svg", 32, Qt::black, 1.0).toImage();
    const auto cap = TavoMenuBarIcon::pixmap(QLatin1String(TavoMenuBarIcon::drawing), 32, Qt::black, 1.0).toImage();
    EXPECT_EQ(strongest(seal.convertToFormat(QImage::Format_ARGB32)), 255);
    EXPECT_NE(seal, cap);
}

TEST(AppIcon, IsTheBundlesOwnOrTheDrawing) {
    const TemporaryDirectory folder;
    QImage own(32, 32, QImage::Format_ARGB32);
    own.fill(Qt::magenta);
    const auto file = QString::fromStdString((folder.path() / "AppIcon.png").string());
    ASSERT_TRUE(own.save(file));
    const QString drawing = QLatin1String(TavoAppIcon::drawing);
    EXPECT_EQ(imageOf(TavoAppIcon::load(file, drawing), 32).pixelColor(16, 16), QColor(Qt::magenta));
    EXPECT_NE(imageOf(TavoAppIcon::load("/nowhere/AppIcon.icns", drawing), 32).pixelColor(16, 16), QColor(Qt::magenta));
    EXPECT_FALSE(TavoAppIcon::image().isNull());
}

TEST(AppIcon, WithNothingToLoadItIsEmpty) {
    const TemporaryDirectory folder;
    const auto broken = QString::fromStdString(folder.write("broken.svg", "<svg").string());
    EXPECT_TRUE(TavoAppIcon::load("/nowhere", "/nowhere").isNull());
    EXPECT_TRUE(TavoAppIcon::load("/nowhere", broken).isNull());
}

TEST(Symbols, AllThatTheViewsNameAreThere) {
    for (const auto* const name :
         {"scope", "line.3.horizontal.decrease.circle", "terminal", "laptopcomputer.and.arrow.down", "battery.100",
          "battery.25", "power", "lock.shield", "lock.open.fill", "arrow.clockwise", "arrow.uturn.backward",
          "pause.fill", "play.fill", "slider.horizontal.3", "xmark", "checkmark", "chevron.down",
          "exclamationmark.triangle", "seal.fill"}) {
        const auto pixmap = symbolPixmap(name, 16, Qt::red, 2.0);
        EXPECT_EQ(pixmap.size(), QSize(32, 32)) << name;
        EXPECT_GT(strongest(pixmap.toImage().convertToFormat(QImage::Format_ARGB32)), 200) << name;
    }
    EXPECT_TRUE(symbolPixmap("no such symbol", 16, Qt::red, 1.0).isNull());
}

} // namespace
} // namespace tavo
