#include "app/views/TavoWindowGlassBackground.h"

namespace tavo {

bool isWindowSystemComposited() {
    return true;
}

} // namespace tavo
