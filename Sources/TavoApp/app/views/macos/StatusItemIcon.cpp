#include "app/views/StatusItemIcon.h"

#include "app/views/TavoMenuBarIcon.h"

namespace tavo {

// A template: the menu bar chooses its colour.
QIcon statusItemIcon(bool isWakeAssertionActive, const QColor& colour) {
    return TavoMenuBarIcon::image(isWakeAssertionActive, colour);
}

} // namespace tavo
