#pragma once

namespace tavo {

/// Styles the settings window: titled, closable, miniaturizable and not resizable, with a line below its title and
/// glass behind its content. It is kept when it is closed, and no control has the focus at first.
/// @param view  the NSView that the window shows.
void prepareNativeWindow(void* view);

/// Hides another key window, makes this one the key window, and brings it in front of the windows of other
/// applications.
void bringNativeWindowToFront(void* view);

/// Shows the panel above everything, also next to a full-screen application, and gives it the keyboard.
/// @param view  the NSView that the panel shows.
void bringNativePanelToFront(void* view);

} // namespace tavo
