#pragma once

#include <functional>
#include <string>

namespace tavo {

/// The application has an icon in the Dock and a main menu. To be called once there is an application.
void useRegularActivationPolicy();

/// Has `onReopen` called when the icon in the Dock is clicked, or the application is opened again: the "rapp" event of Apple's.
/// Takes the place of what would have happened otherwise.
void observeReopen(std::function<void()> onReopen);

/// Has `onChange` called whenever the desktop changes between light and dark.
void observeAppearance(std::function<void()> onChange);

/// Gives the application's item in the menu bar its accessibility label.
void labelNativeStatusItem(const std::string& label);

/// Whether the application is to look dark now.
bool isAppearanceDark();

} // namespace tavo
