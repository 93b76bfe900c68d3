#include "app/views/PanelWindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

namespace tavo {
namespace {

class PanelWindowTest : public testing::Test {
protected:
    void open(bool isComposited, Qt::WindowFlags flags = Qt::Popup | Qt::FramelessWindowHint) {
        window = std::make_unique<PanelWindow>(flags, [isComposited] { return isComposited; });
        auto* panel = new QWidget(window.get());
        panel->setFixedSize(panelSize);
        window->setPanel(*panel);
        window->prepareToShow();
        window->show();
    }

    QImage picture() const {
        QImage image(window->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        window->render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }

    static constexpr QSize panelSize{200, 100};
    std::unique_ptr<PanelWindow> window;
};

TEST_F(PanelWindowTest, WithACompositorItHasRoundedCornersAndAShadow) {
    open(true);
    EXPECT_EQ(window->panelRect().size(), panelSize);
    EXPECT_GT(window->width(), panelSize.width());
    const auto image = picture();
    const auto panel = window->panelRect();
    EXPECT_GT(image.pixelColor(panel.center()).alpha(), 230);
    EXPECT_LT(image.pixelColor(panel.center()).alpha(), 255) << "what lies behind shows through a little";
    EXPECT_LT(image.pixelColor(panel.topLeft()).alpha(), 100) << "the corner is round";
    EXPECT_GT(image.pixelColor(panel.center().x(), panel.bottom() + 3).alpha(), 20) << "a shadow";
    EXPECT_LT(image.pixelColor(panel.center().x(), image.height() - 1).alpha(), 4) << "which ends within the window";
    EXPECT_GT(image.pixelColor(panel.center().x(), panel.bottom() + 3).alpha(),
              image.pixelColor(panel.center().x(), panel.top() - 3).alpha())
        << "and falls downwards";
}

TEST_F(PanelWindowTest, WithoutOneItIsARectangleOfItsSize) {
    open(false);
    EXPECT_EQ(window->size(), panelSize);
    const auto image = picture();
    for (const auto& corner : {image.rect().topLeft(), image.rect().bottomRight()}) {
        EXPECT_EQ(image.pixelColor(corner).alpha(), 255);
    }
    EXPECT_EQ(image.pixelColor(image.rect().center()).alpha(), 255);
}

TEST_F(PanelWindowTest, AFrameOfTheDesktopsOwnNeedsNoShadow) {
    open(true, Qt::Dialog | Qt::WindowTitleHint);
    EXPECT_EQ(window->size(), panelSize);
}

TEST_F(PanelWindowTest, AClickOnTheShadowIsBesideThePanel) {
    open(true);
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, window->panelRect().center());
    EXPECT_TRUE(window->isVisible());
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, {2, 2});
    EXPECT_FALSE(window->isVisible());
}

} // namespace
} // namespace tavo
