#include "app/views/PopUpButton.h"
#include "app/views/SegmentButton.h"
#include "app/views/SwitchControl.h"
#include "app/views/TavoButton.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>
#include <QWheelEvent>

namespace tavo {
namespace {

QAccessible::Role roleOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->role();
}

TEST(SwitchControl, IsACheckBoxToTheKeyboardThePointerAndAccessibility) {
    SwitchControl control;
    control.resize(control.sizeHint());
    control.show();
    QTest::mouseClick(&control, Qt::LeftButton, {}, {control.width() - 2, 2});
    EXPECT_TRUE(control.isChecked()) << "wherever it is clicked";
    QTest::keyClick(&control, Qt::Key_Space);
    EXPECT_FALSE(control.isChecked());
    EXPECT_EQ(roleOf(control), QAccessible::CheckBox);
}

TEST(SwitchControl, TheKnobIsAtTheOtherEndInARightToLeftLayout) {
    SwitchControl control;
    control.resize(control.sizeHint());
    control.setChecked(true);
    const auto leftToRight = control.grab().toImage();
    control.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(control.grab().toImage().pixelColor(6, 10), leftToRight.pixelColor(control.width() - 7, 10));
    EXPECT_NE(control.grab().toImage(), leftToRight);
}

TEST(TavoButton, ReturnPressesIt) {
    TavoButton button("save");
    button.resize(button.sizeHint());
    button.show();
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++clicks; });
    QTest::keyClick(&button, Qt::Key_Return);
    QTest::keyClick(&button, Qt::Key_Enter);
    QTest::keyClick(&button, Qt::Key_Space);
    EXPECT_EQ(clicks, 3);
    EXPECT_EQ(roleOf(button), QAccessible::Button);
}

TEST(TavoButton, LooksDifferentWhileItWorks) {
    TavoButton button("grant");
    button.resize(button.sizeHint());
    const auto before = button.grab().toImage();
    button.setWorking(true);
    EXPECT_NE(button.grab().toImage(), before);
    button.setWorking(false);
    EXPECT_EQ(button.grab().toImage(), before);
}

TEST(PopUpButton, IsAComboBoxThatScrollingLeavesAlone) {
    PopUpButton button;
    button.addItems({"one", "two"});
    EXPECT_EQ(roleOf(button), QAccessible::ComboBox);
    QWheelEvent event({5, 5}, {5, 5}, {0, -120}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&button, &event);
    EXPECT_EQ(button.currentIndex(), 0);
    QTest::keyClick(&button, Qt::Key_Down);
    EXPECT_EQ(button.currentIndex(), 1);
}

TEST(SegmentButton, IsARadioButton) {
    SegmentButton button("command");
    EXPECT_EQ(roleOf(button), QAccessible::RadioButton);
}

} // namespace
} // namespace tavo
