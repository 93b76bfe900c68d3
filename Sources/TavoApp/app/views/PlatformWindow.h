#pragma once

#include <functional>

class QString;
class QWidget;

namespace tavo {

// The parts of application and windows that Qt leaves to each window system.

/// Called once the application runs.
/// @param onReopen  called when the application is opened again, for example by a click on its icon.
void preparePlatformApplication(std::function<void()> onReopen);

/// Called once, before the settings window is shown.
void preparePlatformWindow(QWidget& window);

/// Puts the settings window in front of the windows of other applications.
void bringPlatformWindowToFront(QWidget& window);

/// Whether there is a display to show windows on. Called before Qt starts, which would end the program without one.
bool hasDisplay();

/// Whether windows may choose their position.
bool canPlaceWindows();

/// The kind of window that the panel of the menu bar or tray is.
enum class PanelKind {
    /// A popup: has the keyboard at once, and the window system closes it on a click outside.
    popup,
    /// Without a frame. Has the keyboard once it is active, and is closed when another window becomes active.
    activeWindow,
    /// An ordinary small window, where windows cannot be placed; closed when another one becomes active, too.
    dialog,
};
PanelKind panelKind();

/// Whether the window system draws a shadow around every window, following its shape.
bool windowSystemDrawsShadows();

/// Called when the panel is shown: puts it in front of all applications and gives it the keyboard, where Qt does not.
void bringPanelToFront(QWidget& panel);

/// Called when the panel was closed and no other window is shown: returns the keyboard to the application that had it.
void returnActivation();

/// Names the item in the menu bar for screen readers, once it is shown; where Qt does not do so.
void labelStatusItem(const QString& label);

/// Whether a click on the tray icon is reported even if a menu is attached to it.
bool trayReportsClicksWithMenu();

} // namespace tavo
