#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavo {

struct DecodedCharacter {
    /// U+FFFD for a malformed sequence.
    char32_t character;

    /// In bytes.
    std::size_t length;
    bool isValid;
};

/// The character at the start of `bytes`, which are not empty. A malformed sequence counts as one character, as
/// repairUTF8() replaces it.
DecodedCharacter decodeFirst(std::string_view bytes);

/// Appends the character in UTF-8.
void appendCharacter(std::string& text, char32_t character);

} // namespace tavo
