#include "app/views/PlatformWindow.h"

#include <QGuiApplication>

namespace tavo {

// A second start asks by a signal.
void preparePlatformApplication(std::function<void()>) {}

void preparePlatformWindow(QWidget&) {}

void bringPlatformWindowToFront(QWidget&) {}

bool canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

PanelKind panelKind() {
    return canPlaceWindows() ? PanelKind::popup : PanelKind::dialog;
}

// Some window managers draw one, and none around a popup with a shape of its own.
bool windowSystemDrawsShadows() {
    return false;
}

void bringPanelToFront(QWidget&) {}

void giveActivationBack() {}

// A tray knows the name of the application.
void labelStatusItem(const QString&) {}

bool trayTellsOfClicksBesideMenu() {
    return true;
}

} // namespace tavo
