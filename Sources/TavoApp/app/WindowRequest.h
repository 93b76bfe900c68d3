#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// A second start's wish to see the window of the first, with the launcher's permission to put it in front of others.
struct WindowRequest {
    /// Of Wayland's xdg_activation_v1; empty when there is none.
    std::string activationToken;

    /// Of the Startup Notification Protocol on X11; empty when there is none.
    std::string startupID;

    bool operator==(const WindowRequest&) const = default;

    /// The longest message, and more than any token needs.
    static constexpr std::size_t maxLength = 4096;

    /// As the launcher has put them into XDG_ACTIVATION_TOKEN and DESKTOP_STARTUP_ID. Values that no message can carry are
    /// left out. To be called before Qt starts, which removes them.
    static WindowRequest fromEnvironment();

    /// One JSON object.
    std::string encoded() const;

    /// @return nothing for a message that encoded() does not make: what is too long, is no such object, or has characters
    ///         beyond printable ASCII.
    static std::optional<WindowRequest> decoded(std::string_view message);
};

} // namespace tavo
