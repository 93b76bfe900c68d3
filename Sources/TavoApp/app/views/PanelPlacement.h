#pragma once

#include <QRect>
#include <QSize>

namespace tavo {

/// Where the panel stands.
/// @param icon       of the tray item, in global coordinates; empty when the platform does not tell.
/// @param screen     the whole of the icon's screen, or of the main one.
/// @param available  what bars of the desktop leave of it.
/// @return the upper left corner: below or above the icon and within the screen, or else in the corner that is nearest to
///         the bar that the tray is likely to be in: the upper one unless there is a bar below and none above.
QPoint panelPosition(const QRect& icon, const QRect& screen, const QRect& available, const QSize& panel,
                     Qt::LayoutDirection direction);

} // namespace tavo
