#pragma once

#include <QWidget>
#include <functional>

namespace tavo {

/// The window of the panel. Without a frame, and where windows are put together with what lies behind them, it has rounded
/// corners and a shadow, for which it is larger than the panel itself.
class PanelWindow final : public QWidget {
public:
    /// @param isComposited  asked each time before the window is shown: a compositor may come and go.
    explicit PanelWindow(Qt::WindowFlags flags, std::function<bool()> isComposited);

    /// Takes the panel in.
    void setPanel(QWidget& newPanel);

    /// To be called before it is shown, for its size.
    void prepareToShow();

    /// Of the panel within the window. The rest is shadow.
    QRect panelRect() const;

protected:
    /// A click on the shadow is one beside the panel.
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::function<bool()> isComposited;
    QWidget* panel = nullptr;
    bool hasGlass = false;
};

} // namespace tavo
