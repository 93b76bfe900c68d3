#pragma once

#include "app/WindowRequest.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace tavo {

/// Receives requests for the window for as long as it lives.
struct WindowRequestListening {
    virtual ~WindowRequestListening() = default;
};

/// Receives requests on behalf of the holder of a lock file.
/// @return null where requests come as signals only.
std::unique_ptr<WindowRequestListening> listenForWindowRequests(const std::filesystem::path& lockFile,
                                                                std::function<void(WindowRequest)> onRequest);

/// Sends a request to the holder of a lock file.
/// @return false when nothing listens there; send a signal instead.
bool sendWindowRequest(const std::filesystem::path& lockFile, const WindowRequest& request);

} // namespace tavo
