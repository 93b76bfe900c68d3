#pragma once

#include "app/WindowRequest.h"

class QWidget;

namespace tavo {

// Window systems do not let an application put its window in front of others without a reason.

/// Called before the window is shown and activated for a request.
void useActivation(const WindowRequest& request);

/// Called afterwards: completes the activation where Qt cannot, and discards what was not used.
void completeActivation(QWidget& window, const WindowRequest& request);

/// Called before showing and activating a window that may be open behind others. Hides it where the window system
/// raises only new windows, so that showing it brings it to the front.
void prepareForActivation(QWidget& window);

} // namespace tavo
