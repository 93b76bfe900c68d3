#pragma once

#include "base/RawValues.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The purpose of a second start.
enum class RequestedAction {
    showWindow,
    showSettings, ///< the window, with the settings instead of the welcome view
    enable,       ///< as the button of this name does; nothing when it is on already
    pause,        ///< likewise
};

template <>
struct RawValues<RequestedAction> {
    static constexpr RawValueTable<RequestedAction, 4> table{{
        {RequestedAction::showWindow, "window"},
        {RequestedAction::showSettings, "settings"},
        {RequestedAction::enable, "enable"},
        {RequestedAction::pause, "pause"},
    }};
};

/// Whether the action is for the window, and not for what Tavo does.
constexpr bool showsWindow(RequestedAction action) {
    return action == RequestedAction::showWindow || action == RequestedAction::showSettings;
}

/// Asks the running Tavo to show its window, with the launcher's permission to put it in front of others, or to do what
/// one of its buttons does.
struct WindowRequest {
    RequestedAction action = RequestedAction::showWindow;

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

    /// A message without an action, or with one that this version does not know, comes from another version and asks
    /// for the window.
    /// @return nothing for a message that encoded() cannot have made: one that is too long, is no such object, or has
    ///         characters beyond printable ASCII.
    static std::optional<WindowRequest> decoded(std::string_view message);
};

} // namespace tavo
