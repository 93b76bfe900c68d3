#include "app/views/PlatformWindow.h"

#include <QGuiApplication>

namespace tavo {

// A second start sends a request or a signal.
void preparePlatformApplication(std::function<void()>) {}

void preparePlatformWindow(QWidget&) {}

void bringPlatformWindowToFront(QWidget&) {}

bool canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

PanelKind panelKind() {
    return canPlaceWindows() ? PanelKind::popup : PanelKind::dialog;
}

// Some window managers draw a shadow, but none around a popup with its own shape.
bool windowSystemDrawsShadows() {
    return false;
}

void bringPanelToFront(QWidget&) {}

void returnActivation() {}

// Trays know the application's name.
void labelStatusItem(const QString&) {}

bool trayReportsClicksWithMenu() {
    return true;
}

} // namespace tavo
