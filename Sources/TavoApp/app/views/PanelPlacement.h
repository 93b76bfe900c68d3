#pragma once

#include <QRect>
#include <QSize>

namespace tavo {

/// Where the panel stands.
/// @param anchor     the tray icon, or where the pointer was when the platform does not tell where the icon is, in global
///                   coordinates; empty when neither is known.
/// @param screen     the whole of the anchor's screen, or of the main one.
/// @param available  what bars of the desktop leave of it. An X server with several screens says nothing of bars.
/// @return the upper left corner: on the free side of the bar that the anchor is in, and within the screen; without an
///         anchor in the corner that is nearest to the bar that the tray is likely to be in: the upper one unless there is
///         a bar below and none above.
QPoint panelPosition(const QRect& anchor, const QRect& screen, const QRect& available, const QSize& panel,
                     Qt::LayoutDirection direction);

} // namespace tavo
