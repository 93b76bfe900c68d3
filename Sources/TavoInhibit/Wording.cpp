#include "TavoInhibit/Wording.h"

#include <system_error>

namespace tavo {

namespace {

constexpr std::size_t quotedLength = 300;

unsigned byteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
}

/// The length in bytes of the control character at the start of `text`, 0 when there is none.
std::size_t controlLength(std::string_view text) {
    const auto first = byteAt(text, 0);
    const auto second = byteAt(text, 1);
    const auto third = byteAt(text, 2);
    if (first < 0x20 || first == 0x7F) {
        return 1;
    }
    if (first == 0xC2 && second >= 0x80 && second <= 0x9F) {
        return 2;
    }
    // U+200E, U+200F, U+2028 to U+202E.
    if (first == 0xE2 && second == 0x80 && (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) {
        return 3;
    }
    // U+2066 to U+2069.
    if (first == 0xE2 && second == 0x81 && third >= 0xA6 && third <= 0xA9) {
        return 3;
    }
    // U+061C, the Arabic letter mark.
    return first == 0xD8 && second == 0x9C ? 2 : 0;
}

bool isUpper(char character) {
    return character >= 'A' && character <= 'Z';
}

} // namespace

std::string withoutControls(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto length = controlLength(text);
        result += length == 0 ? text.front() : ' ';
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

std::string shortened(std::string_view text, std::size_t limit) {
    constexpr std::string_view mark = "...";
    if (text.size() <= limit) {
        return std::string(text);
    }
    auto length = limit > mark.size() ? limit - mark.size() : 0;
    while (length > 0 && (byteAt(text, length) & 0xC0U) == 0x80U) {
        --length;
    }
    return std::string(text.substr(0, length)).append(mark);
}

std::string quotedMessage(std::string_view message) {
    auto text = withoutControls(message);
    while (!text.empty() && (text.back() == '.' || text.back() == ' ')) {
        text.pop_back();
    }
    if (!text.empty() && isUpper(text[0]) && (text.size() == 1 || !isUpper(text[1]))) {
        text[0] = static_cast<char>(text[0] - 'A' + 'a');
    }
    return shortened(text, quotedLength);
}

std::string quotedError(int error) {
    return quotedMessage(std::generic_category().message(error));
}

} // namespace tavo
