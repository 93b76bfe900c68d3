#include "app/views/PlatformWindow.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>

namespace tavo {

namespace {

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

// A second start asks by a signal.
void preparePlatformApplication(std::function<void()>) {}

void preparePlatformWindow(QWidget&) {}

void bringPlatformWindowToFront(QWidget&) {}

bool hasDisplay() {
    if (isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM")) {
        return true;
    }
    if (!isSet("DISPLAY")) {
        return false;
    }
    // One that is named may be gone, as in a terminal that outlived its desktop.
    auto* const connection = xcb_connect(nullptr, nullptr);
    const bool isThere = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isThere;
}

bool canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

PanelKind panelKind() {
    return canPlaceWindows() ? PanelKind::popup : PanelKind::dialog;
}

void bringPanelToFront(QWidget&) {}

void giveActivationBack() {}

// A tray knows the name of the application.
void labelStatusItem(const QString&) {}

bool trayTellsOfClicksBesideMenu() {
    return true;
}

} // namespace tavo
