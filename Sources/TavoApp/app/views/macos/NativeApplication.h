#pragma once

#include <functional>
#include <string>

namespace tavo {

/// The application has an icon in the Dock and a main menu. To be called once there is an application.
void useRegularActivationPolicy();

/// Has `work` done once the application has finished launching, at once when it has.
void whenLaunched(std::function<void()> work);

/// Takes all windows of the application off the screen and has the application that was active before become it again. It
/// comes back with its windows when it is activated.
void hideApplication();

/// Has `onReopen` called when the icon in the Dock is clicked, or the application is opened again: the "rapp" event of Apple's.
/// Takes the place of what would have happened otherwise. To be called once the application has launched.
void observeReopen(std::function<void()> onReopen);

/// Has `onChange` called whenever the desktop changes between light and dark.
void observeAppearance(std::function<void()> onChange);

/// Gives the application's item in the menu bar its accessibility label.
void labelNativeStatusItem(const std::string& label);

/// Whether the application is to look dark now.
bool isAppearanceDark();

} // namespace tavo
