#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// The value of an Exec key that starts a program with arguments: its path, for some paths a shell in front of it, and each
/// argument, quoted by the Desktop Entry Specification 1.5, "The Exec key", and then escaped as every value of the type string
/// is. Nothing for a path with control characters, which the format cannot carry.
/// @param arguments  without control characters.
std::optional<std::string> desktopExecValue(const std::filesystem::path& program,
                                            const std::vector<std::string>& arguments = {});

/// The value of a key in the group "Desktop Entry" of a desktop entry's text, as it stands there.
std::optional<std::string> desktopEntryValue(std::string_view text, std::string_view key);

} // namespace tavo
