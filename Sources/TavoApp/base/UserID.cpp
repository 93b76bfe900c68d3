#include "base/UserID.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace tavo {

std::optional<uid_t> parseUserID(std::string_view text) {
    uid_t user = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, user);
    const bool isUser = error == std::errc() && stop == end && user != std::numeric_limits<uid_t>::max();
    return isUser ? std::optional(user) : std::nullopt;
}

} // namespace tavo
