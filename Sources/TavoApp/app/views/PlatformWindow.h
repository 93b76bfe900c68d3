#pragma once

#include <functional>

class QString;
class QWidget;

namespace tavo {

// What an application and its windows need of their window system beyond what Qt asks of every one.

/// Called once the application runs.
/// @param onReopen  to be called when the application is asked for again, as by a click on its icon.
void preparePlatformApplication(std::function<void()> onReopen);

/// Called once, before the settings window is shown.
void preparePlatformWindow(QWidget& window);

/// Called when the settings window is to be in front of those of other applications.
void bringPlatformWindowToFront(QWidget& window);

/// Whether there is anything to show windows on: asked before Qt is started, which would end the program.
bool hasDisplay();

/// Whether windows may choose where they stand.
bool canPlaceWindows();

/// The kind of window that the panel of the menu bar or tray is.
enum class PanelKind {
    /// Has the keyboard at once, and a click outside of it closes it, by the window system's own means.
    popup,
    /// Without a frame. Has the keyboard once it is the active window, and is closed when another one becomes that.
    activeWindow,
    /// An ordinary small window, where windows cannot be placed; closed when another one becomes active, too.
    dialog,
};
PanelKind panelKind();

/// Whether every window gets a shadow, by its shape.
bool windowSystemDrawsShadows();

/// Called when the panel is shown: puts it in front of all applications and gives it the keyboard, where Qt does not.
void bringPanelToFront(QWidget& panel);

/// Called when the panel was closed and no other window is shown: whoever had the keyboard before has it again.
void giveActivationBack();

/// Names the item in the menu bar for those who hear the screen, once it is shown; where Qt does not do so by itself.
void labelStatusItem(const QString& label);

/// Whether a click on the icon in the tray can be told of where a menu is attached to it.
bool trayTellsOfClicksBesideMenu();

} // namespace tavo
