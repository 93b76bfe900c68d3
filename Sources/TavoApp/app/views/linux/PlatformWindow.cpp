#include "app/views/PlatformWindow.h"

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
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

bool canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

// A tray knows the name of the application.
void labelStatusItem(const QString&) {}

bool trayTellsOfClicksBesideMenu() {
    return true;
}

} // namespace tavo
