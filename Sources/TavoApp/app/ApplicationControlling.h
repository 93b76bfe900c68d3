#pragma once

#include <memory>

namespace tavo {

class TavoAppModel;

/// The settings window.
struct SettingsWindowControlling {
    virtual ~SettingsWindowControlling() = default;

    virtual void showWindow() = 0;

    /// Makes it the key window, in front of the windows of all applications.
    virtual void bringToFront() = 0;
};

/// The program around the model, as far as the model needs it.
struct ApplicationControlling {
    virtual ~ApplicationControlling() = default;

    /// Hides the key window if it is not the settings window.
    virtual void orderOutKeyWindow() = 0;

    /// Null in a program without windows. The window shows the model, and may keep it only weakly.
    virtual std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel& model) = 0;

    /// Ends the main loop, and with it the program, once the current task returns.
    virtual void terminate() = 0;
};

} // namespace tavo
