#pragma once

#include <optional>
#include <string>

namespace tavo {

/// What comes back over a transport for one command. A part that is there counts, also when it is empty.
struct PrivilegedHelperReply {
    /// The encoded response.
    std::optional<std::string> data;

    /// Why there is no response, for the user.
    std::optional<std::string> message;

    bool operator==(const PrivilegedHelperReply&) const = default;
};

} // namespace tavo
