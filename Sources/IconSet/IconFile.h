#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo {

/// Puts pictures together to an icon file of macOS (.icns): "icns" and the file's length, then each picture with its type and
/// its length before it, all lengths in 32 bits, big end first, and including those eight bytes.
/// @param pictures  types of four characters, as in "ic10" for 512 points at 2 pixels each, with PNG data.
std::string icnsFile(const std::vector<std::pair<std::string_view, std::string>>& pictures);

} // namespace tavo
