#pragma once

class QString;
class QWidget;

namespace tavo {

/// The NSView of a window; null where the window system has none: under others, such as the one of the tests, which shows
/// nothing, a window's native number is no pointer.
/// @param windowSystem  the name of Qt's platform.
void* nativeView(const QWidget& window, const QString& windowSystem);

} // namespace tavo
