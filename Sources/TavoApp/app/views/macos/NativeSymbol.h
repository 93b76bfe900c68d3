#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tavo {

/// The opacity of each pixel of one of the system's symbols, row by row from the top, in a square of `pixels`; empty if
/// the system has no symbol of that name.
std::vector<std::uint8_t> nativeSymbolCoverage(const std::string& name, int pixels);

} // namespace tavo
