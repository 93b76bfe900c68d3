#pragma once

#include <memory>

namespace tavo {

class TavoAppModel;

/// The settings window.
struct SettingsWindowControlling {
    virtual ~SettingsWindowControlling() = default;

    virtual void showWindow() = 0;

    /// Makes it the key window in front of those of all applications.
    virtual void bringToFront() = 0;
};

/// What the model asks of the program that it runs in.
struct ApplicationControlling {
    virtual ~ApplicationControlling() = default;

    /// Takes a window other than the settings window off the screen that has the keyboard, when there is one.
    virtual void orderOutKeyWindow() = 0;

    /// Null in a program without windows. The window shows the model, and may keep it only weakly.
    virtual std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel& model) = 0;

    /// Ends the main loop, and with it the program, after what is running there now.
    virtual void terminate() = 0;
};

} // namespace tavo
