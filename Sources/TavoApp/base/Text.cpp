#include "base/Text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>

namespace tavo {

namespace {

constexpr char32_t replacementCharacter = U'\uFFFD';

struct Decoded {
    char32_t character;
    std::size_t length;
    bool isValid;
};

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

Decoded decodeFirst(std::string_view bytes) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                                         static_cast<utf8proc_ssize_t>(bytes.size()), &character);
    if (length > 0) {
        return {static_cast<char32_t>(character), static_cast<std::size_t>(length), true};
    }
    return {replacementCharacter, malformedLength(bytes), false};
}

void append(std::string& text, char32_t character) {
    std::array<utf8proc_uint8_t, 4> bytes{};
    const auto length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(character), bytes.data());
    text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

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

bool isAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(),
                        [](char unit) { return (static_cast<unsigned char>(unit) & 0x80U) != 0; });
}

char asciiLower(char unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
}

/// Accents and vowel points have the combining classes from 10 up; below stand the marks that make another letter.
bool isDroppedMark(char32_t character) {
    constexpr utf8proc_propval_t highestLetterMakingClass = 9;
    const auto* property = utf8proc_get_property(static_cast<utf8proc_int32_t>(character));
    return property->category == UTF8PROC_CATEGORY_MN && property->combining_class > highestLetterMakingClass;
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
        append(repaired, next.character);
        bytes.remove_prefix(next.length);
    }
    return repaired;
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
        const auto next = unit < 0x80 ? Decoded{unit, 1, true} : decodeFirst(text.substr(position));
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
        append(lower, static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(next.character))));
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
            append(visible, next.character);
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
            append(escaped, next.character);
        }
        json.remove_prefix(next.length);
    }
    return escaped;
}

std::string foldedForComparison(std::string_view text) {
    if (isAscii(text)) {
        std::string lower(text);
        std::transform(lower.begin(), lower.end(), lower.begin(), asciiLower);
        return lower;
    }
    const std::string valid = repairUTF8(text);
    std::string folded;
    folded.reserve(valid.size());
    std::string_view rest = valid;
    while (!rest.empty()) {
        const auto next = decodeFirst(rest);
        rest.remove_prefix(next.length);
        // The longest full decomposition with case folding of one character has 18 code points (U+FDFA).
        std::array<utf8proc_int32_t, 32> parts{};
        int boundary = 0;
        const auto count = utf8proc_decompose_char(
            static_cast<utf8proc_int32_t>(next.character), parts.data(), static_cast<utf8proc_ssize_t>(parts.size()),
            static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD), &boundary);
        for (utf8proc_ssize_t index = 0; index < count && index < static_cast<utf8proc_ssize_t>(parts.size());
             ++index) {
            const auto part = static_cast<char32_t>(parts.at(static_cast<std::size_t>(index)));
            if (!isDroppedMark(part)) {
                append(folded, part);
            }
        }
    }
    return folded;
}

FoldedQuery::FoldedQuery(std::string_view query) : folded(foldedForComparison(query)), foldedIsAscii(isAscii(folded)) {}

bool FoldedQuery::isContainedIn(std::string_view text) const {
    if (folded.empty()) {
        return false;
    }
    if (!isAscii(text)) {
        return foldedForComparison(text).find(folded) != std::string::npos;
    }
    return foldedIsAscii && std::search(text.begin(), text.end(), folded.begin(), folded.end(),
                                        [](char left, char right) { return asciiLower(left) == right; }) != text.end();
}

bool FoldedQuery::equals(std::string_view text) const {
    if (!isAscii(text)) {
        return foldedForComparison(text) == folded;
    }
    return foldedIsAscii && std::equal(text.begin(), text.end(), folded.begin(), folded.end(),
                                       [](char left, char right) { return asciiLower(left) == right; });
}

} // namespace tavo
