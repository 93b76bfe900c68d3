#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// Code points of UTF-8: near enough for words that are to fit a line.
std::size_t characterCount(std::string_view text);

/// The text in lines of at most `width` characters, broken at spaces. A word that is longer than that has a line of its
/// own.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

} // namespace tavo
