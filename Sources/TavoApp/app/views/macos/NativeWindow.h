#pragma once

namespace tavo {

/// Gives the settings window its looks: a titled window that can be closed and minimised and not resized, a line below its
/// title, and glass behind what it shows. It is kept when it is closed, and no control has the keyboard at first.
/// @param view  the NSView that the window shows.
void prepareNativeWindow(void* view);

/// Puts another window that has the keyboard away, makes this one the key window, and brings it in front of those of other
/// applications.
void bringNativeWindowToFront(void* view);

/// Shows the panel above everything, also beside an application that fills the screen, and gives it the keyboard.
/// @param view  the NSView that the panel shows.
void bringNativePanelToFront(void* view);

} // namespace tavo
