#pragma once

class QString;
class QWidget;

namespace tavo {

/// The NSView of a window; null under other window systems, such as that of the tests, where a window's native id is no
/// pointer.
/// @param windowSystem  the name of Qt's platform.
void* nativeView(const QWidget& window, const QString& windowSystem);

} // namespace tavo
