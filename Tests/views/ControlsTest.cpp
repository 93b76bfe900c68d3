#include "app/views/PopUpButton.h"
#include "app/views/SegmentButton.h"
#include "app/views/SlimScrollBar.h"
#include "app/views/SwitchControl.h"
#include "app/views/TavoButton.h"
#include "app/views/TavoMenuBarIcon.h"
#include "app/views/TextField.h"
#include "app/views/Theme.h"

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

void expectRingForTheKeyboardAlone(QWidget* control) {
    QWidget window;
    control->setParent(&window);
    control->setFocusPolicy(Qt::StrongFocus);
    control->resize(control->sizeHint());
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    const auto plain = control->grab().toImage();
    const auto pictureAfter = [&](Qt::FocusReason reason) {
        control->clearFocus();
        control->setFocus(reason);
        return control->grab().toImage();
    };
    for (const auto reason : {Qt::TabFocusReason, Qt::BacktabFocusReason, Qt::ShortcutFocusReason}) {
        EXPECT_NE(pictureAfter(reason), plain) << reason;
    }
    EXPECT_EQ(pictureAfter(Qt::MouseFocusReason), plain);
    EXPECT_EQ(pictureAfter(Qt::OtherFocusReason), plain);
    EXPECT_NE(pictureAfter(Qt::TabFocusReason), plain);
    QFocusEvent back(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(control, &back);
    EXPECT_NE(control->grab().toImage(), plain) << "the window became active again, and the ring is where it was";
}

TEST(FocusRing, AClickLeavesNoneAndTheKeyboardOne) {
    expectRingForTheKeyboardAlone(new SwitchControl);
    expectRingForTheKeyboardAlone(new PopUpButton);
    expectRingForTheKeyboardAlone(new TavoButton("save"));
    expectRingForTheKeyboardAlone(new SegmentButton("command"));
    auto* field = new TextField;
    field->setReadOnly(true); // without a cursor, which blinks
    expectRingForTheKeyboardAlone(field);
}

TEST(SegmentButton, ChoosingMovesNothingAndTheChosenOneIsBold) {
    SegmentButton button("command");
    button.resize(button.sizeHint());
    const auto size = button.sizeHint();
    const auto before = button.grab().toImage();
    button.setChecked(true);
    EXPECT_EQ(button.sizeHint(), size);
    EXPECT_NE(button.grab().toImage(), before);
    EXPECT_EQ(button.grab().toImage().pixel(1, 4), before.pixel(1, 4)) << "there is no ground of its own";
}

TEST(TextField, IsAsTallAsAButtonAndItsTextIsSmallerThanAround) {
    QWidget window;
    TextField field(&window);
    const TavoButton button("save", ButtonTone::plain, &window);
    EXPECT_EQ(field.sizeHint().height(), button.sizeHint().height());
    EXPECT_LT(QFontInfo(field.font()).pixelSize(), QFontInfo(window.font()).pixelSize());
}

TEST(SlimScrollBar, ShowsWhileThereIsScrolling) {
    SlimScrollBar bar(Qt::Vertical);
    bar.setRange(0, 100);
    bar.setPageStep(50);
    bar.resize(SlimScrollBar::thickness, 200);
    bar.show();
    const auto resting = bar.grab().toImage();
    EXPECT_FALSE(bar.isThumbShown());
    bar.setValue(10);
    EXPECT_TRUE(bar.isThumbShown());
    EXPECT_NE(bar.grab().toImage(), resting);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !bar.isThumbShown(); }));
    EXPECT_EQ(bar.grab().toImage(), resting);
}

TEST(BottleCapView, TheCutOutsAreWhiteOnADarkBackground) {
    BottleCapView cap;
    cap.setPalette(Theme::dark().palette());
    cap.resize(cap.sizeHint());
    EXPECT_EQ(cap.grab().toImage().pixelColor(13, 13), QColor(Qt::white));
}

TEST(SegmentButton, IsARadioButton) {
    SegmentButton button("command");
    EXPECT_EQ(roleOf(button), QAccessible::RadioButton);
}

} // namespace
} // namespace tavo
