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

/// Names the item in the menu bar for those who hear the screen, once it is shown; where Qt does not do so by itself.
void labelStatusItem(const QString& label);

/// Whether a click on the icon in the tray can be told of where a menu is attached to it.
bool trayTellsOfClicksBesideMenu();

} // namespace tavo
