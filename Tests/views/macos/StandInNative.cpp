#include "views/macos/StandInNative.h"

#include "app/views/macos/NativeApplication.h"
#include "app/views/macos/NativeWindow.h"

#include <utility>

namespace tavo {

namespace {

void note(const char* what) {
    StandInNative::shared().asked.emplace_back(what);
}

} // namespace

StandInNative& StandInNative::shared() {
    static StandInNative native;
    return native;
}

void useRegularActivationPolicy() {
    note("regular");
}

void whenLaunched(std::function<void()> work) {
    if (StandInNative::shared().hasLaunched) {
        work();
    } else {
        StandInNative::shared().onLaunched = std::move(work);
    }
}

void hideApplication() {
    note("hide");
}

void observeReopen(std::function<void()> onReopen) {
    StandInNative::shared().onReopen = std::move(onReopen);
}

void observeAppearance(std::function<void()>) {}

void labelNativeStatusItem(const std::string&) {}

bool isAppearanceDark() {
    return false;
}

void prepareNativeWindow(void*) {
    note("prepare the window");
}

void bringNativeWindowToFront(void*) {
    note("bring the window to the front");
}

void bringNativePanelToFront(void*) {
    note("bring the panel to the front");
}

} // namespace tavo
