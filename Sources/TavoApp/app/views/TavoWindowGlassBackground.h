#pragma once

#include <QColor>
#include <QPalette>
#include <QWidget>

namespace tavo {

/// The tint of a window's glass.
struct TavoGlassTint {
    /// @param isComposited  whether the window system shows the windows behind; opaque where it does not.
    static QColor of(const QPalette& palette, bool isComposited);
};

/// The background of a window.
class TavoWindowGlassBackground final : public QWidget {
public:
    explicit TavoWindowGlassBackground(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// Whether the window system composites windows at present, so that they can be translucent.
bool isWindowSystemComposited();

} // namespace tavo
