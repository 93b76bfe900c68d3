#include "system/BusAddresses.h"

namespace tavo {

std::string unixBusAddresses(std::string_view address) {
    std::string sockets;
    while (!address.empty()) {
        const auto end = address.find(';');
        const auto entry = address.substr(0, end);
        if (entry.starts_with("unix:")) {
            sockets += sockets.empty() ? "" : ";";
            sockets += entry;
        }
        address.remove_prefix(end == std::string_view::npos ? address.size() : end + 1);
    }
    return sockets;
}

} // namespace tavo
