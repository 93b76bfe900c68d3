#pragma once

#include "app/TavoAppModel.h"

#include <memory>

namespace tavo {

/// What happens to the application as a whole.
class TavoAppDelegate final {
public:
    /// Called once the main loop is about to run: the settings window opens at every launch, unless it is a hidden one.
    void applicationDidFinishLaunching(const std::shared_ptr<TavoAppModel>& model, MainLoop& mainLoop,
                                       bool isHidden) const;

    /// Called when the application is started a second time, or its icon is clicked.
    void applicationShouldHandleReopen(TavoAppModel& model) const;
};

} // namespace tavo
