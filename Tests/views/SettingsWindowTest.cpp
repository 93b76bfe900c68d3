#include "app/views/TavoSettingsWindowController.h"
#include "views/FindWidgets.h"
#include "views/Stage.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScrollArea>
#include <QScrollBar>
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

TEST_F(SettingsWindowTest, WithLargeFontsItFitsTheScreenAndScrolls) {
    EXPECT_EQ(settingsContentSize(2.0, QSize(1280, 1000)), QSize(756, 700));
    const auto fitting = settingsContentSize(2.0, QSize(1280, 720));
    EXPECT_LE(fitting.height(), 720 - 40) << "with a title bar";
    EXPECT_EQ(settingsContentSize(2.0, QSize(640, 720)).width(), 640);
    EXPECT_EQ(settingsContentSize(1.0, QSize(300, 200)), QSize(378, 350)) << "nothing is cut for a tiny screen";
    EXPECT_EQ(settingsContentSize(2.0, QSize()), QSize(756, 700));

    const FontSize size(26);
    const TavoSettingsWindowController controller(*observer, "computer", true);
    controller.window().setFixedSize(fitting);
    controller.window().show();
    QApplication::processEvents();
    EXPECT_LE(controller.view().minimumSizeHint().height(), fitting.height());
    const auto* const scroll = controller.view().findChild<QScrollArea*>();
    EXPECT_GT(scroll->verticalScrollBar()->maximum(), 0);
    EXPECT_GT(scroll->viewport()->height(), 200);
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

TEST_F(SettingsWindowTest, AskingForTheSettingsSkipsTheWelcomeView) {
    TavoSettingsWindowController controller(*observer, "computer", false);
    controller.showWindow();
    EXPECT_FALSE(controller.view().showsSettings());
    observer->showSettings();
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
