#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavo {

/// Folds texts, so that neither case nor diacritics count: two texts are alike when their folded forms are equal.
///
/// Folding is Unicode's full case folding over the canonical decomposition, without the combining marks that modify a
/// letter (accents, vowel points). Marks that make another letter (nukta, virama, kana voicing) stay. Each character is
/// folded by itself, so the foldings that were looked up last are remembered: Unicode's tables take many times as long.
class TextFolder {
public:
    static constexpr unsigned placeBits = 9;

    /// Valid until the next call. A malformed sequence counts as U+FFFD.
    std::string_view fold(std::string_view text);

private:
    struct Folding {
        /// No text has this where a character starts: a zero is followed by none of its bytes.
        static constexpr std::uint32_t none = 0x100;

        /// The character's own bytes in UTF-8.
        std::uint32_t sequence = none;
        std::uint8_t length = 0;

        /// Enough for a syllable of Hangul, which becomes three letters. The few that are longer are not remembered.
        std::array<char, 11> folded{};
    };

    std::size_t foldRemembered(const char* start, std::size_t size);
    std::size_t lookUp(std::string_view text);
    void makeSpaceFor(std::size_t bytes);

    /// The first half has those that were looked up last, the second half those that others have driven from there, each
    /// half in an order of its own, so that the letters of a text do not keep driving each other out.
    std::array<Folding, std::size_t{2} << placeBits> remembered{};
    std::string buffer;
    std::size_t used = 0;
};

/// Compares texts with one query many times.
class FoldedQuery {
public:
    explicit FoldedQuery(std::string_view query) : folded(folder.fold(query)) {}

    /// Whether `text` holds the query somewhere. An empty query is nowhere to be found.
    bool isContainedIn(std::string_view text);

    /// Whether `text` is the query from end to end.
    bool equals(std::string_view text);

private:
    TextFolder folder;
    std::string folded;
};

} // namespace tavo
