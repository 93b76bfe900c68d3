#pragma once

#include "app/WindowRequest.h"

class QWidget;

namespace tavo {

// Window systems let no application put its window in front of those of others without a reason.

/// Called before the window is shown and activated for a request.
void useActivation(const WindowRequest& request);

/// Called when that has been done: completes it where Qt has no word for it, and forgets what was not used.
void completeActivation(QWidget& window, const WindowRequest& request);

/// Called before a window is shown and activated that may be open behind others. Takes it off the screen where the window
/// system lets no window that is there come to the front, so that showing it does that.
void makeRoomForActivation(QWidget& window);

} // namespace tavo
