#include "base/FoldedQuery.h"

#include "base/UTF8.h"

#include <utf8proc.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace tavo {

namespace {

/// Accents and vowel points have the combining classes from 10 up; below stand the marks that make another letter.
bool isDroppedMark(char32_t character) {
    constexpr utf8proc_propval_t highestLetterMakingClass = 9;
    const auto* property = utf8proc_get_property(static_cast<utf8proc_int32_t>(character));
    return property->category == UTF8PROC_CATEGORY_MN && property->combining_class > highestLetterMakingClass;
}

std::string folding(char32_t character) {
    // The longest full decomposition with case folding of one character has 18 code points (U+FDFA).
    std::array<utf8proc_int32_t, 32> parts{};
    int boundary = 0;
    const auto count = utf8proc_decompose_char(
        static_cast<utf8proc_int32_t>(character), parts.data(), static_cast<utf8proc_ssize_t>(parts.size()),
        static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD), &boundary);
    std::string folded;
    for (utf8proc_ssize_t index = 0; index < count && index < static_cast<utf8proc_ssize_t>(parts.size()); ++index) {
        const auto part = static_cast<char32_t>(parts.at(static_cast<std::size_t>(index)));
        if (!isDroppedMark(part)) {
            appendCharacter(folded, part);
        }
    }
    return folded;
}

bool isAscii(char unit) {
    return (static_cast<unsigned char>(unit) & 0x80U) == 0;
}

char asciiLower(char unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
}

/// The first character's length, by what its first byte says. A table takes no branch, which nobody could predict in a
/// text that mixes alphabets.
std::size_t lengthByLead(unsigned char lead) {
    constexpr std::array<std::uint8_t, 16> lengths{1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 3, 4};
    return lengths[lead >> 4U];
}

constexpr std::size_t maxLength = 4;

/// The first `length` bytes of the four that can be read at `start`, as one number.
std::uint32_t sequenceAt(const char* start, std::size_t length) {
    using Bytes = std::array<std::uint8_t, maxLength>;
    constexpr std::array<std::uint32_t, maxLength + 1> masks{
        0, std::bit_cast<std::uint32_t>(Bytes{0xFF, 0, 0, 0}), std::bit_cast<std::uint32_t>(Bytes{0xFF, 0xFF, 0, 0}),
        std::bit_cast<std::uint32_t>(Bytes{0xFF, 0xFF, 0xFF, 0}), 0xFFFFFFFF};
    std::uint32_t word = 0;
    std::memcpy(&word, start, sizeof(word));
    return word & masks[length];
}

/// Fibonacci hashing, with the upper bits, so that the letters of one alphabet and of several lie apart.
std::size_t placeBy(std::uint32_t factor, std::uint32_t sequence) {
    return (sequence * factor) >> (32U - TextFolder::placeBits);
}

std::size_t firstPlace(std::uint32_t sequence) {
    return placeBy(0x9E3779B1U, sequence);
}

std::size_t secondPlace(std::uint32_t sequence) {
    return (std::size_t{1} << TextFolder::placeBits) + placeBy(0x85EBCA6BU, sequence);
}

} // namespace

std::string_view TextFolder::fold(std::string_view text) {
    used = 0;
    makeSpaceFor(text.size());
    const auto asciiEnd = std::find_if_not(text.begin(), text.end(), isAscii);
    std::transform(text.begin(), asciiEnd, buffer.begin(), asciiLower);
    used = static_cast<std::size_t>(asciiEnd - text.begin());
    text.remove_prefix(used);
    while (text.size() >= maxLength) {
        makeSpaceFor(text.size() + maxLength + sizeof(Folding::folded));
        text.remove_prefix(foldRemembered(text.data(), text.size() - maxLength + 1));
        if (text.size() >= maxLength) {
            text.remove_prefix(lookUp(text));
        }
    }
    // With zeros behind the last bytes, four can be read anywhere.
    std::array<char, 2 * maxLength> padded{};
    std::copy(text.begin(), text.end(), padded.begin());
    std::string_view rest(padded.data(), text.size());
    while (!rest.empty()) {
        makeSpaceFor(sizeof(Folding::folded));
        rest.remove_prefix(std::min(rest.size(), foldRemembered(rest.data(), rest.size())));
        if (!rest.empty()) {
            rest.remove_prefix(lookUp(rest));
        }
    }
    return std::string_view(buffer).substr(0, used);
}

/// Folds the characters that start in the first `size` bytes, up to one that is not remembered or as far as there is
/// space, and returns their length. Four bytes can be read from each of these.
std::size_t TextFolder::foldRemembered(const char* const start, std::size_t size) {
    const char* in = start;
    const char* const end = start + size;
    char* out = buffer.data() + used;
    const char* const full = buffer.data() + buffer.size() - sizeof(Folding::folded);
    while (in < end && out <= full) {
        const auto length = lengthByLead(static_cast<unsigned char>(*in));
        const auto sequence = sequenceAt(in, length);
        const auto first = firstPlace(sequence);
        // Which of the two it is cannot be predicted either.
        const auto isElsewhere = static_cast<std::size_t>(remembered[first].sequence != sequence);
        const auto& known = remembered[first + isElsewhere * (secondPlace(sequence) - first)];
        if (known.sequence != sequence) {
            break;
        }
        // All of them, of which some count: a copy of fixed size takes no call.
        std::memcpy(out, known.folded.data(), sizeof(known.folded));
        out += known.length;
        in += length;
    }
    used = static_cast<std::size_t>(out - buffer.data());
    return static_cast<std::size_t>(in - start);
}

/// Folds the first character, and returns its length in bytes.
std::size_t TextFolder::lookUp(std::string_view text) {
    const auto first = decodeFirst(text);
    const auto piece = folding(first.character);
    makeSpaceFor(piece.size());
    std::copy(piece.begin(), piece.end(), buffer.data() + used);
    used += piece.size();
    if (first.isValid && piece.size() <= sizeof(Folding::folded)) {
        std::array<char, maxLength> bytes{};
        std::copy_n(text.begin(), first.length, bytes.begin());
        const auto sequence = sequenceAt(bytes.data(), first.length);
        auto& place = remembered[firstPlace(sequence)];
        if (place.sequence != Folding::none) {
            remembered[secondPlace(place.sequence)] = place;
        }
        place = {.sequence = sequence, .length = static_cast<std::uint8_t>(piece.size())};
        std::copy(piece.begin(), piece.end(), place.folded.begin());
    }
    return first.length;
}

void TextFolder::makeSpaceFor(std::size_t bytes) {
    if (buffer.size() < used + bytes) {
        buffer.resize(2 * (used + bytes));
    }
}

bool FoldedQuery::isContainedIn(std::string_view text) {
    return !folded.empty() && folder.fold(text).find(folded) != std::string_view::npos;
}

bool FoldedQuery::equals(std::string_view text) {
    return folder.fold(text) == folded;
}

} // namespace tavo
