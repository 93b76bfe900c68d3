#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tavo {

/// Reads a whole text as a decimal number of 32 bits: digits with at most one sign in front.
std::optional<std::int32_t> parseInt32(std::string_view text);

/// Reads a whole text as a decimal number: digits with at most one sign in front, a "." as the decimal point and an
/// exponent ("e3"). No white space, no hexadecimal, no "inf" or "nan", and nothing beyond the range of a double.
/// The process's locale does not count.
std::optional<double> parseDecimal(std::string_view text);

} // namespace tavo
