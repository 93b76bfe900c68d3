#pragma once

#include <QWidget>
namespace tavo {

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
