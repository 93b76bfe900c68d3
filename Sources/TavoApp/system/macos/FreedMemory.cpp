#include "system/FreedMemory.h"

namespace tavo {

void returnFreedMemory() {
    // The system's allocator does so.
}

} // namespace tavo
