#pragma once

#include <sys/types.h>

#include <optional>
#include <string_view>

namespace tavo {

/// The user id that the whole text is in decimal digits; nothing for any other text, and for the largest number, which
/// means "no user" to the kernel's calls.
std::optional<uid_t> parseUserID(std::string_view text);

} // namespace tavo
