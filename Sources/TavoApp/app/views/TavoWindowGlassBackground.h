#pragma once

#include <QColor>
#include <QPalette>
#include <QWidget>

namespace tavo {

/// The tint that lies over what is behind the window.
struct TavoGlassTint {
    /// @param isComposited  whether the window system shows what lies behind; opaque where it does not.
    static QColor of(const QPalette& palette, bool isComposited);
};

/// The ground of a window.
class TavoWindowGlassBackground final : public QWidget {
public:
    explicit TavoWindowGlassBackground(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// Whether the window system puts windows together with what lies behind them, as of now.
bool isWindowSystemComposited();

} // namespace tavo
