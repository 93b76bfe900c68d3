#include "base/Text.h"

#include "base/UTF8.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>
#include <iterator>

namespace tavo {

namespace {

bool isNewline(char32_t character) {
    return (character >= 0x0A && character <= 0x0D) || character == 0x85 || character == 0x2028 || character == 0x2029;
}

template <typename Predicate>
std::string_view trim(std::string_view text, Predicate isTrimmed) {
    while (!text.empty()) {
        const auto first = decodeFirst(text);
        if (!isTrimmed(first.character)) {
            break;
        }
        text.remove_prefix(first.length);
    }
    while (!text.empty()) {
        auto start = text.size() - 1;
        while (start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80) {
            --start;
        }
        const auto last = decodeFirst(text.substr(start));
        if (start + last.length != text.size() || !isTrimmed(last.character)) {
            break;
        }
        text.remove_suffix(last.length);
    }
    return text;
}

bool isBidirectionalControl(char32_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

/// Controls that are no ASCII: C1, separators of lines and paragraphs, and what changes the direction of text.
bool isHiddenBeyondAscii(char32_t character) {
    return (character >= 0x80 && character < 0xA0) || character == 0x2028 || character == 0x2029 ||
           isBidirectionalControl(character);
}

} // namespace

bool isWhitespace(char32_t character) {
    if (character < 0x80) {
        return character == ' ' || character == '\t';
    }
    return utf8proc_category(static_cast<utf8proc_int32_t>(character)) == UTF8PROC_CATEGORY_ZS;
}

bool isWhitespaceOrNewline(char32_t character) {
    return isWhitespace(character) || isNewline(character);
}

std::string repairUTF8(std::string_view bytes) {
    std::string repaired;
    repairUTF8(bytes, repaired);
    return repaired;
}

void repairUTF8(std::string_view bytes, std::string& repaired) {
    repaired.clear();
    repaired.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto asciiEnd = std::find_if(bytes.begin(), bytes.end(),
                                           [](char unit) { return (static_cast<unsigned char>(unit) & 0x80U) != 0; });
        const auto asciiLength = static_cast<std::size_t>(std::distance(bytes.begin(), asciiEnd));
        repaired.append(bytes.substr(0, asciiLength));
        bytes.remove_prefix(asciiLength);
        if (bytes.empty()) {
            break;
        }
        const auto next = decodeFirst(bytes);
        appendCharacter(repaired, next.character);
        bytes.remove_prefix(next.length);
    }
}

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
    return trim(text, isWhitespaceOrNewline);
}

std::string_view trimWhitespace(std::string_view text) {
    return trim(text, isWhitespace);
}

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t lineStart = 0;
    std::size_t position = 0;
    const auto closeLine = [&](std::size_t end) {
        if (end > lineStart) {
            lines.push_back(text.substr(lineStart, end - lineStart));
        }
    };
    while (position < text.size()) {
        const auto unit = static_cast<unsigned char>(text[position]);
        const auto next = unit < 0x80 ? DecodedCharacter{unit, 1, true} : decodeFirst(text.substr(position));
        if (isNewline(next.character)) {
            closeLine(position);
            lineStart = position + next.length;
        }
        position += next.length;
    }
    closeLine(text.size());
    return lines;
}

std::size_t prefixLength(std::string_view text, std::size_t count) {
    std::size_t position = 0;
    std::size_t characters = 0;
    utf8proc_int32_t state = 0;
    char32_t previous = 0;
    while (position < text.size()) {
        const auto next = decodeFirst(text.substr(position));
        const bool startsCharacter =
            position == 0 || utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(previous),
                                                              static_cast<utf8proc_int32_t>(next.character), &state);
        if (startsCharacter && ++characters > count) {
            return position;
        }
        previous = next.character;
        position += next.length;
    }
    return position;
}

std::string lowercased(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        const auto next = decodeFirst(text);
        appendCharacter(lower, static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(next.character))));
        text.remove_prefix(next.length);
    }
    return lower;
}

std::string visibleControls(std::string_view text) {
    std::string visible;
    visible.reserve(text.size());
    while (!text.empty()) {
        const auto next = decodeFirst(text);
        if (next.character < 0x20 || next.character == 0x7F) {
            visible += {'^', static_cast<char>(next.character ^ 0x40U)};
        } else if (isHiddenBeyondAscii(next.character)) {
            visible += fmt::format("\\u{{{:x}}}", static_cast<unsigned>(next.character));
        } else {
            appendCharacter(visible, next.character);
        }
        text.remove_prefix(next.length);
    }
    return visible;
}

std::string escapedControlsInJson(std::string_view json) {
    std::string escaped;
    escaped.reserve(json.size());
    while (!json.empty()) {
        const auto next = decodeFirst(json);
        if (next.character == 0x7F || isHiddenBeyondAscii(next.character)) {
            escaped += fmt::format("\\u{:04x}", static_cast<unsigned>(next.character));
        } else {
            appendCharacter(escaped, next.character);
        }
        json.remove_prefix(next.length);
    }
    return escaped;
}

} // namespace tavo
