#include "app/views/Activation.h"

namespace tavo {

// AppKit activates applications by itself.

void useActivation(const WindowRequest&) {}

void completeActivation(QWidget&, const WindowRequest&) {}

void prepareForActivation(QWidget&) {}

} // namespace tavo
