#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tavo {

/// How opaque each pixel of one of the system's symbols is, row by row from the top, in a square of `pixels`; empty when the
/// system has none of that name.
std::vector<std::uint8_t> nativeSymbolCoverage(const std::string& name, int pixels);

} // namespace tavo
