#pragma once

#include "app/views/ControlPainting.h"

#include <QComboBox>

namespace tavo {

/// A picker: a combo box with a chevron.
class PopUpButton final : public QComboBox {
public:
    explicit PopUpButton(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    /// Keys that choose in the list or close it go to the list; no shortcut of the window may take them.
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    /// Scrolling over it scrolls the view around it.
    void wheelEvent(QWheelEvent* event) override;

private:
    FocusRing focusRing{*this};
};

} // namespace tavo
