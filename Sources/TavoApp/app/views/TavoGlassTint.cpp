#include "app/views/TavoGlassTint.h"

#include "app/views/Theme.h"

namespace tavo {

namespace {

/// What is behind is not blurred everywhere, and text has to be read over it.
constexpr int tintOpacity = 244;

} // namespace

QColor TavoGlassTint::of(const QPalette& palette, bool isComposited) {
    auto tint = Theme::of(palette).window;
    tint.setAlpha(isComposited ? tintOpacity : 255);
    return tint;
}

} // namespace tavo
