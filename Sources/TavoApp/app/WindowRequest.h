#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// Asks the running Tavo to show its window, with the launcher's permission to put it in front of others.
struct WindowRequest {
    /// Of Wayland's xdg_activation_v1; empty when there is none.
    std::string activationToken;

    /// Of the Startup Notification Protocol on X11; empty when there is none.
    std::string startupID;

    bool operator==(const WindowRequest&) const = default;

    /// The maximum length of a message; more than any token needs.
    static constexpr std::size_t maxLength = 4096;

    /// From XDG_ACTIVATION_TOKEN and DESKTOP_STARTUP_ID, which the launcher sets. Values that do not fit into a message
    /// are left out. Must be called before Qt starts, since Qt removes them.
    static WindowRequest fromEnvironment();

    /// One JSON object.
    std::string encoded() const;

    /// @return nothing for a message that encoded() cannot have made: one that is too long, is no such object, or has
    ///         characters beyond printable ASCII.
    static std::optional<WindowRequest> decoded(std::string_view message);
};

} // namespace tavo
