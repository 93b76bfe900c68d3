#pragma once

#include <QPainter>
#include <QWidget>

namespace tavo {

struct Theme;

/// What the controls have in common in how they are painted.
namespace ControlPainting {

constexpr double radius = 6.0;
constexpr double disabledOpacity = 0.45;

/// A length, grown with the widget's font.
int grown(int length, const QWidget& widget);

/// @param corner  its radius.
/// @param border  none when it is not valid.
void paintGround(QPainter& painter, const QRectF& shape, double corner, const QColor& colour, const QColor& border);

/// Around a control that has the keyboard.
void paintFocusRing(QPainter& painter, const QRectF& shape, double corner, const Theme& theme);

} // namespace ControlPainting

} // namespace tavo
