#include "app/views/TavoSettingsWindowController.h"
#include "views/FindWidgets.h"
#include "views/Stage.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

namespace tavo {
namespace {

class SettingsWindowTest : public testing::Test, protected Stage {
protected:
    void SetUp() override { begin(); }
};

TEST_F(SettingsWindowTest, HasItsSizeAndItsTitleAndCannotBeResized) {
    const FontSize size(13);
    const TavoSettingsWindowController controller(*observer, "computer", false);
    EXPECT_EQ(controller.window().minimumSize(), QSize(378, 350));
    EXPECT_EQ(controller.window().maximumSize(), QSize(378, 350));
    EXPECT_EQ(controller.window().windowTitle(), "tavo");
    EXPECT_FALSE(controller.window().windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_TRUE(controller.window().windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
}

TEST_F(SettingsWindowTest, GrowsWithLargeFonts) {
    const FontSize size(26);
    const TavoSettingsWindowController controller(*observer, "computer", false);
    EXPECT_EQ(controller.window().size(), QSize(756, 700));
}

TEST_F(SettingsWindowTest, NoControlStandsOutWhenItAppears) {
    TavoSettingsWindowController controller(*observer, "computer", true);
    controller.showWindow();
    controller.bringToFront();
    QApplication::processEvents();
    EXPECT_EQ(controller.window().focusWidget(), &controller.view());
}

TEST_F(SettingsWindowTest, TheSameWindowComesBackAfterItWasClosedAndShowsTheSettings) {
    TavoSettingsWindowController controller(*observer, "computer", false);
    controller.showWindow();
    EXPECT_FALSE(controller.view().showsSettings());
    auto& window = controller.window();
    window.close();
    EXPECT_FALSE(window.isVisible());
    controller.showWindow();
    EXPECT_EQ(&controller.window(), &window);
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(controller.view().showsSettings());
}

TEST_F(SettingsWindowTest, AMinimizedWindowComesBackWhole) {
    TavoSettingsWindowController controller(*observer, "computer", false);
    controller.showWindow();
    controller.window().showMinimized();
    controller.showWindow();
    EXPECT_FALSE(controller.window().isMinimized());
}

} // namespace
} // namespace tavo
