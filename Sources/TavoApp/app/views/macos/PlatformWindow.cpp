#include "app/views/PlatformWindow.h"

#include "app/views/macos/NativeApplication.h"
#include "app/views/macos/NativeWindow.h"

#include <QWidget>
#include <utility>

namespace tavo {

namespace {

void* viewOf(const QWidget& window) {
    return reinterpret_cast<void*>(window.winId());
}

} // namespace

void preparePlatformApplication(std::function<void()> onReopen) {
    useRegularActivationPolicy();
    observeReopen(std::move(onReopen));
}

void preparePlatformWindow(QWidget& window) {
    prepareNativeWindow(viewOf(window));
}

void bringPlatformWindowToFront(QWidget& window) {
    bringNativeWindowToFront(viewOf(window));
}

bool hasDisplay() {
    return true;
}

bool canPlaceWindows() {
    return true;
}

void labelStatusItem(const QString& label) {
    labelNativeStatusItem(label.toStdString());
}

// A menu that is attached to an item of the menu bar opens in the place of everything else.
bool trayTellsOfClicksBesideMenu() {
    return false;
}

} // namespace tavo
