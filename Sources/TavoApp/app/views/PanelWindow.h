#pragma once

#include <QWidget>
#include <functional>

namespace tavo {

/// The window of the panel, without a frame. Where windows are composited it has rounded corners and a shadow, and is
/// larger than the panel by that.
class PanelWindow final : public QWidget {
public:
    /// @param isComposited  asked each time before the window is shown: a compositor may come and go.
    explicit PanelWindow(Qt::WindowFlags flags, std::function<bool()> isComposited);

    /// Puts the panel into the window.
    void setPanel(QWidget& newPanel);

    /// Must be called before the window is shown, since its size depends on it.
    void prepareToShow();

    /// The panel's area within the window. The rest is shadow.
    QRect panelRect() const;

protected:
    /// A click on the shadow counts as one outside the panel.
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::function<bool()> isComposited;
    QWidget* panel = nullptr;
    bool hasGlass = false;
};

} // namespace tavo
