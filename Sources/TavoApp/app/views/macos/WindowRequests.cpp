#include "app/views/WindowRequests.h"

namespace tavo {

// The system itself brings an application to the front when it is opened again.

std::unique_ptr<WindowRequestListening> listenForWindowRequests(const std::filesystem::path&,
                                                                std::function<void(WindowRequest)>) {
    return nullptr;
}

bool sendWindowRequest(const std::filesystem::path&, const WindowRequest&) {
    return false;
}

} // namespace tavo
