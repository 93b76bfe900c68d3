#include "app/views/PlatformWindow.h"

#include "app/views/macos/NativeApplication.h"
#include "app/views/macos/NativeView.h"
#include "app/views/macos/NativeWindow.h"

#include <QGuiApplication>
#include <QWidget>
#include <utility>

namespace tavo {

namespace {

/// Calls `work` with the window's native view, if there is one.
void withView(const QWidget& window, void (*work)(void* view)) {
    if (void* const view = nativeView(window, QGuiApplication::platformName())) {
        work(view);
    }
}

} // namespace

void* nativeView(const QWidget& window, const QString& windowSystem) {
    return windowSystem == QStringLiteral("cocoa") ? reinterpret_cast<void*>(window.winId()) : nullptr;
}

void preparePlatformApplication(std::function<void()> onReopen) {
    useRegularActivationPolicy();
    // AppKit replaces an earlier handler with its own while it launches.
    whenLaunched([onReopen = std::move(onReopen)] { observeReopen(onReopen); });
}

void preparePlatformWindow(QWidget& window) {
    withView(window, prepareNativeWindow);
}

void bringPlatformWindowToFront(QWidget& window) {
    withView(window, bringNativeWindowToFront);
}

bool hasDisplay() {
    return true;
}

bool canPlaceWindows() {
    return true;
}

// A popup never becomes the key window while another application is active, as is usual when the menu bar is clicked.
PanelKind panelKind() {
    return PanelKind::activeWindow;
}

bool windowSystemDrawsShadows() {
    return true;
}

void bringPanelToFront(QWidget& panel) {
    withView(panel, bringNativePanelToFront);
}

void returnActivation() {
    hideApplication();
}

void labelStatusItem(const QString& label) {
    labelNativeStatusItem(label.toStdString());
}

// A menu attached to an item of the menu bar opens instead of anything else.
bool trayReportsClicksWithMenu() {
    return false;
}

} // namespace tavo
