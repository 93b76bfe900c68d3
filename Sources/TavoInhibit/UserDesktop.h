#pragma once

namespace tavo {

/// Whether a desktop of the calling user's may ask logind to suspend: an ordinary user who has a graphical session, be it
/// this one or, for a login from afar, the one on this computer's screen. Locks of root's hold everybody back.
bool isOrdinaryUserOfDesktop();

/// Whether these values of WAYLAND_DISPLAY and DISPLAY, or null, name a screen of this computer.
bool namesLocalDisplay(const char* wayland, const char* x11);

} // namespace tavo
