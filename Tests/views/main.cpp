#include "app/views/Accessibility.h"

#include <gtest/gtest.h>

#include <QApplication>

/// The tests of the views, on a window system that shows nothing.
int main(int count, char** values) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Its warnings are about what that window system cannot do.
    qputenv("QT_LOGGING_RULES", "qt.core.qobject.connect=false;default.warning=false");
    testing::InitGoogleTest(&count, values);
    const QApplication application(count, values);
    tavo::prepareAccessibility();
    return RUN_ALL_TESTS();
}
