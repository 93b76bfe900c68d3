#include "app/views/PlatformWindow.h"

#include "Support/ScriptedTrayWatch.h"
#include "app/views/TavoMenuBarExtra.h"
#include "app/views/macos/NativeView.h"
#include "views/FindWidgets.h"
#include "views/Stage.h"
#include "views/macos/StandInNative.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A Mac's half of the windows, over a stand-in for AppKit.
class MacWindowsTest : public testing::Test, protected Stage {
protected:
    MacWindowsTest() { native = {}; }

    void openPanel() {
        begin();
        extra = std::make_unique<TavoMenuBarExtra>(*observer, menuBar);
        extra->togglePanel();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&extra->panel()));
    }

    bool closes() const {
        return QTest::qWaitFor([this] { return !extra->panel().isVisible(); });
    }

    StandInNative& native = StandInNative::shared();
    ScriptedTrayWatch menuBar{true};
    std::unique_ptr<TavoMenuBarExtra> extra;
};

TEST_F(MacWindowsTest, OnlyUnderCocoaAWindowHasANativeView) {
    const QWidget window;
    EXPECT_EQ(nativeView(window, "cocoa"), reinterpret_cast<void*>(window.winId()));
    for (const auto* other : {"offscreen", "minimal", "xcb", ""}) {
        EXPECT_EQ(nativeView(window, other), nullptr) << other;
    }
}

TEST_F(MacWindowsTest, WithoutANativeViewNothingIsAskedOfAppKit) {
    QWidget window;
    preparePlatformWindow(window);
    bringPlatformWindowToFront(window);
    bringPanelToFront(window);
    EXPECT_THAT(native.asked, IsEmpty());
}

TEST_F(MacWindowsTest, TheHandlerForTheDockIsInstalledOnceTheApplicationHasLaunched) {
    int reopened = 0;
    preparePlatformApplication([&] { ++reopened; });
    EXPECT_THAT(native.asked, ElementsAre("regular"));
    EXPECT_FALSE(native.onReopen) << "AppKit would replace it";
    ASSERT_TRUE(native.onLaunched);
    native.onLaunched();
    ASSERT_TRUE(native.onReopen);
    native.onReopen();
    native.onReopen();
    EXPECT_EQ(reopened, 2);
}

TEST_F(MacWindowsTest, InAnApplicationThatHasLaunchedTheHandlerIsInstalledAtOnce) {
    native.hasLaunched = true;
    preparePlatformApplication([] {});
    EXPECT_TRUE(native.onReopen);
}

TEST_F(MacWindowsTest, ThePanelCanBecomeTheKeyWindow) {
    openPanel();
    EXPECT_EQ(extra->panel().windowType(), Qt::Dialog);
    EXPECT_TRUE(extra->panel().windowFlags() & Qt::FramelessWindowHint);
}

TEST_F(MacWindowsTest, ThePanelTakesTheKeyboard) {
    openPanel();
    auto* const focused = QApplication::focusWidget();
    ASSERT_TRUE(focused);
    QTest::keyClick(focused, Qt::Key_Return);
    EXPECT_TRUE(model->config().isEnabled) << "the first of its rows";
    EXPECT_TRUE(closes());
    extra->togglePanel();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&extra->panel()));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_TRUE(closes());
}

TEST_F(MacWindowsTest, ThePanelClosesWhenAnotherWindowBecomesActive) {
    openPanel();
    QWidget other;
    other.show();
    other.activateWindow();
    EXPECT_TRUE(closes());
}

TEST_F(MacWindowsTest, AClosedPanelGivesTheKeyboardBackToTheApplicationThatHadIt) {
    openPanel();
    extra->closePanel();
    EXPECT_THAT(native.asked, IsEmpty()) << "it may be about to show another window";
    QCoreApplication::processEvents();
    EXPECT_THAT(native.asked, ElementsAre("hide"));
    extra->closePanel();
    QCoreApplication::processEvents();
    EXPECT_THAT(native.asked, ElementsAre("hide")) << "it was closed already";
}

TEST_F(MacWindowsTest, WithAnotherWindowOfItsOwnTheApplicationStaysActive) {
    openPanel();
    extra->closePanel();
    QWidget settings;
    settings.show();
    QCoreApplication::processEvents();
    EXPECT_THAT(native.asked, IsEmpty());
}

} // namespace
} // namespace tavo
