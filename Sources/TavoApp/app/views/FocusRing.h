#pragma once

#include <QObject>
#include <QPainter>
#include <QWidget>

namespace tavo {

/// The ring around a control that the keyboard came to. A click leaves none: whoever points at a control knows where it is.
class FocusRing final : public QObject {
public:
    /// @param control  outlives the ring.
    explicit FocusRing(QWidget& control);

    bool isShown() const { return isByKeyboard && control.hasFocus(); }

    /// Paints it when it is shown.
    /// @param corner  its radius.
    void paint(QPainter& painter, const QRectF& shape, double corner) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& control;
    bool isByKeyboard = false;
};

} // namespace tavo
