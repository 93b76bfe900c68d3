#pragma once

#include "app/WindowRequest.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace tavo {

/// Takes in requests for the window for as long as it lives.
struct WindowRequestListening {
    virtual ~WindowRequestListening() = default;
};

/// Listens for the holder of a lock file.
/// @return null where nothing but a signal can ask.
std::unique_ptr<WindowRequestListening> listenForWindowRequests(const std::filesystem::path& lockFile,
                                                                std::function<void(WindowRequest)> onRequest);

/// Sends a request to the holder of a lock file.
/// @return false when nobody listens there: a signal has to do.
bool sendWindowRequest(const std::filesystem::path& lockFile, const WindowRequest& request);

} // namespace tavo
