#include "Support/TemporaryDirectory.h"
#include "app/views/Accessibility.h"
#include "app/views/TavoMenuBarView.h"
#include "app/views/TavoSettingsWindowController.h"
#include "views/Stage.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLibraryInfo>
#include <QScreen>
#include <QTest>
#include <QVersionNumber>
#include <QWindow>

namespace tavo {
namespace {

/// A window that was moved between screens must look as one that was opened there.
class ScaleChange : public testing::Test, protected Stage {
protected:
    void SetUp() override {
        ASSERT_EQ(QGuiApplication::screens().size(), 2);
        ASSERT_EQ(fine()->devicePixelRatio(), 2);
        begin();
    }

    static QScreen* coarse() { return QGuiApplication::screens().front(); }
    static QScreen* fine() { return QGuiApplication::screens().back(); }

    static void showOn(QWidget& window, QScreen* screen) {
        window.winId();
        window.windowHandle()->setScreen(screen);
        window.move(screen->geometry().topLeft() + QPoint(20, 20));
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        ASSERT_EQ(window.screen(), screen);
        QCoreApplication::processEvents();
    }

    static QImage picture(QWidget& window) {
        // Only one of two windows has the keyboard, and a control that has it looks different.
        if (auto* control = QApplication::focusWidget()) {
            control->clearFocus();
        }
        QCoreApplication::processEvents();
        return window.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }

    template <typename Make>
    static void expectTheSamePicture(Make make) {
        const auto moved = make();
        showOn(*moved, coarse());
        const auto before = picture(*moved);
        showOn(*moved, fine());
        const auto opened = make();
        showOn(*opened, fine());
        const auto expected = picture(*opened);
        ASSERT_EQ(expected.devicePixelRatio(), 2);
        ASSERT_NE(before.size(), expected.size());
        EXPECT_EQ(picture(*moved), expected);
    }
};

TEST_F(ScaleChange, TheSettingsWindowIsAsSharpAsOneThatWasOpenedThere) {
    std::vector<std::unique_ptr<TavoSettingsWindowController>> controllers;
    expectTheSamePicture([&] {
        controllers.push_back(std::make_unique<TavoSettingsWindowController>(*observer, "computer", false));
        return &controllers.back()->window();
    });
}

TEST_F(ScaleChange, ThePanelIsAsSharpAsOneThatWasOpenedThere) {
    expectTheSamePicture([&] { return std::make_unique<TavoMenuBarView>(*observer, [] {}); });
}

} // namespace
} // namespace tavo

/// On a window system with two screens, of which the second has four pixels for each one of the first.
int main(int count, char** values) {
    const tavo::TemporaryDirectory folder;
    // Up to Qt 6.4 the offscreen windows have the pixel ratio of their screen; from then on only the scale factor that follows
    // from its resolution.
    const bool isRatioOfScreen = QLibraryInfo::version() < QVersionNumber(6, 5);
    const std::string fine = isRatioOfScreen ? R"("width": 1200, "height": 900, "logicalDpi": 96, "dpr": 2)"
                                             : R"("width": 2400, "height": 1800, "logicalDpi": 192, "dpr": 1)";
    const auto file = folder.write("screens.json", R"({"screens": [
        {"name": "coarse", "x": 0, "y": 0, "width": 1200, "height": 900, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
        {"name": "fine", "x": 1200, "y": 0, "logicalBaseDpi": 96, )" +
                                                       fine + "}]}");
    qputenv("QT_QPA_PLATFORM", QByteArray::fromStdString("offscreen:configfile=" + file.string()));
    qputenv("QT_LOGGING_RULES", "qt.core.qobject.connect=false;default.warning=false");
    testing::InitGoogleTest(&count, values);
    const QApplication application(count, values);
    tavo::prepareAccessibility();
    return RUN_ALL_TESTS();
}
