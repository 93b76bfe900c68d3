#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// What an Exec key says to start a program, which is its path and for some paths a shell in front of it: quoted by the Desktop Entry Specification 1.5, "The Exec key", and then
/// escaped as every value of the type string is. Nothing for a path with control characters, which the format cannot carry.
std::optional<std::string> desktopExecValue(const std::filesystem::path& program);

/// The value of a key in the group "Desktop Entry" of a desktop entry's text, as it stands there.
std::optional<std::string> desktopEntryValue(std::string_view text, std::string_view key);

} // namespace tavo
