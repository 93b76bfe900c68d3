#include "system/BusAddresses.h"

namespace tavo {

void restrictBusAddresses(uid_t) {
    // Nothing here connects to a message bus.
}

} // namespace tavo
