#include "app/views/TavoAppDelegate.h"

#include "app/views/PlatformWindow.h"
#include "app/views/TavoAppIcon.h"

#include <QApplication>

namespace tavo {

void TavoAppDelegate::applicationDidFinishLaunching(const std::shared_ptr<TavoAppModel>& model, MainLoop& mainLoop,
                                                    bool isHidden) const {
    QApplication::setWindowIcon(TavoAppIcon::image());
    preparePlatformApplication([weakModel = std::weak_ptr(model)] {
        if (const auto strongModel = weakModel.lock()) {
            strongModel->openSettings();
        }
    });
    if (isHidden) {
        return;
    }
    mainLoop.post([weakModel = std::weak_ptr(model)] {
        if (const auto strongModel = weakModel.lock()) {
            strongModel->openSettings();
        }
    });
}

void TavoAppDelegate::applicationShouldHandleReopen(TavoAppModel& model) const {
    model.openSettings();
}

} // namespace tavo
