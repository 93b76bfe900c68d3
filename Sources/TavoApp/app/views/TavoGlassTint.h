#pragma once

#include <QColor>
#include <QPalette>

namespace tavo {

/// The tint that lies over what is behind the window.
struct TavoGlassTint {
    /// @param isComposited  whether the window system shows what lies behind; opaque where it does not.
    static QColor of(const QPalette& palette, bool isComposited);
};

} // namespace tavo
