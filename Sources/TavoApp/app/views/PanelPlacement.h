#pragma once

#include <QRect>
#include <QSize>

namespace tavo {

/// The position of the panel.
/// @param anchor     the tray icon, or the pointer's position if the platform does not report the icon's, in global
///                   coordinates; empty when neither is known.
/// @param screen     the whole of the anchor's screen, or of the main one.
/// @param available  the part of it that the desktop's bars leave. An X server with several screens does not report
/// bars.
/// @return the upper left corner: on the free side of the bar that the anchor is in, and within the screen; without an
///         anchor in the corner that is nearest to the bar that the tray is likely to be in: the upper one unless there
///         is a bar below and none above.
QPoint panelPosition(const QRect& anchor, const QRect& screen, const QRect& available, const QSize& panel,
                     Qt::LayoutDirection direction);

} // namespace tavo
