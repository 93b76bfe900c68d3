#include "base/UTF8.h"

#include <utf8proc.h>

#include <array>

namespace tavo {

namespace {

constexpr char32_t replacementCharacter = U'\uFFFD';

/// How many bytes the malformed sequence at the start of `bytes` takes: the longest start of a well-formed sequence, as
/// the Unicode Standard recommends (chapter 3.9, "substitution of maximal subparts"), and never less than one.
std::size_t malformedLength(std::string_view bytes) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned char lead = byteAt(0);
    const std::size_t wanted = lead >= 0xF0 && lead <= 0xF4   ? 4
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                                                              : 1;
    if (wanted == 1 || bytes.size() < 2) {
        return 1;
    }
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byteAt(1) < lowest || byteAt(1) > highest) {
        return 1;
    }
    std::size_t length = 2;
    while (length < wanted && length < bytes.size() && byteAt(length) >= 0x80 && byteAt(length) <= 0xBF) {
        ++length;
    }
    return length;
}

} // namespace

DecodedCharacter decodeFirst(std::string_view bytes) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                                         static_cast<utf8proc_ssize_t>(bytes.size()), &character);
    if (length > 0) {
        return {static_cast<char32_t>(character), static_cast<std::size_t>(length), true};
    }
    return {replacementCharacter, malformedLength(bytes), false};
}

void appendCharacter(std::string& text, char32_t character) {
    std::array<utf8proc_uint8_t, 4> bytes{};
    const auto length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(character), bytes.data());
    text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

} // namespace tavo
