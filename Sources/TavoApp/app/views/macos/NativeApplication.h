#pragma once

#include <functional>
#include <string>

namespace tavo {

/// Gives the application an icon in the Dock and a main menu. Must be called once the application exists.
void useRegularActivationPolicy();

/// Runs `work` once the application has finished launching, or at once if it has.
void whenLaunched(std::function<void()> work);

/// Hides all windows of the application and activates the one that was active before. Activating the application shows
/// its windows again.
void hideApplication();

/// Calls `onReopen` when the icon in the Dock is clicked or the application is opened again (Apple event "rapp"),
/// instead of the default action. Must be called once the application has launched.
void observeReopen(std::function<void()> onReopen);

/// Calls `onChange` whenever the desktop changes between light and dark.
void observeAppearance(std::function<void()> onChange);

/// Gives the application's item in the menu bar its accessibility label.
void labelNativeStatusItem(const std::string& label);

/// Whether the application should look dark at present.
bool isAppearanceDark();

} // namespace tavo
