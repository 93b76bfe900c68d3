#include "app/views/TavoMenuBarExtra.h"

#include "Support/ScriptedTrayWatch.h"
#include "app/views/TavoSettingsWindowController.h"
#include "views/Stage.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace tavo {
namespace {

class MenuBarExtraTest : public testing::Test, protected Stage {
protected:
    void open() {
        begin();
        extra = std::make_unique<TavoMenuBarExtra>(*observer, tray);
    }

    ScriptedTrayWatch tray;
    std::unique_ptr<TavoMenuBarExtra> extra;
};

TEST_F(MenuBarExtraTest, WhereTheIconsPlaceIsUnknownThePanelOpensAtThePointer) {
    tray.set(true);
    open();
    const auto screen = QGuiApplication::primaryScreen()->geometry();
    for (const auto& pointer : {screen.topRight() + QPoint(-200, 8), screen.bottomLeft() + QPoint(200, -8)}) {
        QCursor::setPos(pointer);
        extra->togglePanel();
        const auto& panel = extra->panel();
        EXPECT_NEAR(panel.geometry().center().x(), pointer.x(), 1);
        EXPECT_LT(
            std::min(std::abs(panel.geometry().top() - pointer.y()), std::abs(panel.geometry().bottom() - pointer.y())),
            10);
        extra->togglePanel();
    }
}

TEST_F(MenuBarExtraTest, TheItemIsMadeOnceThereIsATrayAndStays) {
    open();
    EXPECT_EQ(extra->item(), nullptr);
    tray.set(true);
    const auto* const item = extra->item();
    ASSERT_NE(item, nullptr);
    EXPECT_FALSE(item->icon().isNull());
    tray.set(false);
    tray.set(true);
    EXPECT_EQ(extra->item(), item);
}

TEST_F(MenuBarExtraTest, TheTooltipTellsTheState) {
    open();
    tray.set(true);
    EXPECT_EQ(extra->item()->toolTip(), "tavo: paused");
    model->toggleEnabled();
    EXPECT_EQ(extra->item()->toolTip(), "tavo: keeping computer awake");
}

TEST_F(MenuBarExtraTest, TheIconIsDrawnOnceForEachState) {
    open();
    tray.set(true);
    const auto paused = extra->item()->icon().cacheKey();
    model->evaluateNow();
    EXPECT_EQ(extra->item()->icon().cacheKey(), paused);
    model->toggleEnabled();
    EXPECT_NE(extra->item()->icon().cacheKey(), paused);
    model->toggleEnabled();
    EXPECT_EQ(extra->item()->icon().cacheKey(), paused);
}

TEST_F(MenuBarExtraTest, ThePanelIsMadeWhenItIsFirstOpened) {
    const auto isMade = [] {
        const auto windows = QApplication::topLevelWidgets();
        return std::any_of(windows.begin(), windows.end(),
                           [](const QWidget* window) { return window->objectName() == "panel"; });
    };
    open();
    EXPECT_FALSE(isMade());
    model->toggleEnabled();
    extra->closePanel();
    EXPECT_FALSE(isMade());
    extra->togglePanel();
    EXPECT_TRUE(isMade());
    EXPECT_TRUE(extra->panel().isVisible());
}

TEST_F(MenuBarExtraTest, SettingsInTheMenuComesToTheSettings) {
    open();
    const auto actions = extra->menu().actions();
    const auto settings = std::find_if(actions.begin(), actions.end(),
                                       [](const QAction* action) { return action->text() == "settings"; });
    ASSERT_NE(settings, actions.end());
    TavoSettingsWindowController window(*observer, "computer", false);
    (*settings)->trigger();
    EXPECT_EQ(application.asked.back(), "show the settings window");
    EXPECT_TRUE(window.view().showsSettings());
}

} // namespace
} // namespace tavo
