#include "app/views/Accessibility.h"

#include "Support/ScriptedTrayWatch.h"
#include "app/views/TavoMenuBarExtra.h"
#include "app/views/TavoSettingsWindowController.h"
#include "views/Stage.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>

namespace tavo {
namespace {

class AccessibilityTest : public testing::Test, protected Stage {
protected:
    void SetUp() override { begin(); }

    static QAccessibleInterface& application() { return *QAccessible::queryAccessibleInterface(qApp); }

    static bool isInTree(const QWidget& widget) {
        for (int index = 0; index < application().childCount(); ++index) {
            const auto* const child = application().child(index);
            if (child != nullptr && child->object() == &widget) {
                return application().indexOfChild(child) == index;
            }
        }
        return false;
    }
};

TEST_F(AccessibilityTest, TheSettingsWindowIsAWindowInTheTree) {
    TavoSettingsWindowController controller(*observer, "computer", true);
    controller.showWindow();
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&controller.window())->role(), QAccessible::Window);
    EXPECT_TRUE(isInTree(controller.window()));
}

TEST_F(AccessibilityTest, ThePanelIsInTheTreeWhileItIsOpen) {
    const ScriptedTrayWatch tray;
    TavoMenuBarExtra extra(*observer, tray);
    EXPECT_FALSE(isInTree(extra.panel()));
    extra.togglePanel();
    EXPECT_TRUE(isInTree(extra.panel()));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&extra.panel())->role(), QAccessible::Window);
    EXPECT_EQ(application().child(application().childCount()), nullptr);
    extra.togglePanel();
    EXPECT_FALSE(isInTree(extra.panel()));
}

} // namespace
} // namespace tavo
