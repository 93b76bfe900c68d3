#pragma once

#include <QColor>
#include <QIcon>

namespace tavo {

/// The icon of the item in the menu bar or tray, in a form that is visible on any background of this system.
/// @param colour  of text; only used where the item has the background of the application's own windows.
QIcon statusItemIcon(bool isWakeAssertionActive, const QColor& colour);

} // namespace tavo
