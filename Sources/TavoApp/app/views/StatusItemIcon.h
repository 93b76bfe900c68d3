#pragma once

#include <QColor>
#include <QIcon>

namespace tavo {

/// The icon of the item in the menu bar or tray, in the form that this system's kind of item can show on any ground.
/// @param colour  of text; only where the item lies on the ground of the application's own windows.
QIcon statusItemIcon(bool isWakeAssertionActive, const QColor& colour);

} // namespace tavo
