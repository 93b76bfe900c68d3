#pragma once

#include <QObject>
#include <QPainter>
#include <QWidget>

namespace tavo {

/// The painting that the controls share.
namespace ControlPainting {

constexpr double radius = 6.0;
constexpr double disabledOpacity = 0.45;

/// A length, scaled with the widget's font.
int grown(int length, const QWidget& widget);

/// @param corner  its radius.
/// @param border  none when it is not valid.
void paintGround(QPainter& painter, const QRectF& shape, double corner, const QColor& colour, const QColor& border);

} // namespace ControlPainting

/// The ring around a control that got the focus by keyboard. A click shows none: the pointer is there already.
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
