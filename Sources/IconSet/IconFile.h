#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo {

/// Makes a macOS icon file (.icns) of pictures: "icns" and the length of the file, then each picture after its type and
/// length. Lengths are 32-bit, big-endian, and include those eight bytes.
/// @param pictures  four-character types, such as "ic10" for 512 points at 2 pixels per point, with PNG data.
std::string icnsFile(const std::vector<std::pair<std::string_view, std::string>>& pictures);

} // namespace tavo
