#include "base/FoldedQuery.h"

#include "base/Text.h"
#include "base/UTF8.h"

#include <gtest/gtest.h>
#include <utf8proc.h>

#include <cstdlib>
#include <random>

namespace tavo {
namespace {

TEST(FoldedQuery, CaseDoesNotCount) {
    EXPECT_TRUE(FoldedQuery("CODEX").isContainedIn("/usr/local/bin/codex --full-auto"));
    EXPECT_TRUE(FoldedQuery("cursor").equals("Cursor"));
    EXPECT_FALSE(FoldedQuery("cursor").equals("Cursor Helper"));
    EXPECT_TRUE(FoldedQuery("straße").equals("STRASSE"));
    EXPECT_TRUE(FoldedQuery("ΣΊΣΥΦΟΣ").equals("σίσυφος"));
}

TEST(FoldedQuery, DiacriticsDoNotCount) {
    EXPECT_TRUE(FoldedQuery("resume").isContainedIn("open Résumé.txt"));
    EXPECT_TRUE(FoldedQuery("RÉSUMÉ").isContainedIn("open resume.txt"));
    EXPECT_TRUE(FoldedQuery("re\u0301sume").equals("résumé"));
}

TEST(FoldedQuery, MarksThatMakeAnotherLetterCount) {
    EXPECT_FALSE(FoldedQuery("か").equals("が"));
    EXPECT_FALSE(FoldedQuery("क").equals("क्"));
}

TEST(FoldedQuery, AnEmptyQueryIsNowhere) {
    EXPECT_FALSE(FoldedQuery("").isContainedIn("anything"));
    EXPECT_FALSE(FoldedQuery("").isContainedIn(""));
    EXPECT_FALSE(FoldedQuery("\u0301").isContainedIn("é"));
}

TEST(FoldedQuery, ANonAsciiQueryIsNotInAsciiText) {
    EXPECT_FALSE(FoldedQuery("日本").isContainedIn("nihon"));
    EXPECT_FALSE(FoldedQuery("日本").equals("nihon"));
    EXPECT_TRUE(FoldedQuery("日本").isContainedIn("/opt/日本語/bin"));
}

TEST(FoldedQuery, MalformedTextIsCompared) {
    EXPECT_TRUE(FoldedQuery("codex").isContainedIn("\xFF/codex"));
}

/// The definition, character by character and without remembering anything.
std::string foldedByDefinition(std::string_view text) {
    std::string folded;
    const auto valid = repairUTF8(text);
    for (std::string_view rest = valid; !rest.empty();) {
        const auto first = decodeFirst(rest);
        rest.remove_prefix(first.length);
        std::array<utf8proc_int32_t, 64> parts{};
        int boundary = 0;
        const auto count =
            utf8proc_decompose_char(static_cast<utf8proc_int32_t>(first.character), parts.data(), parts.size(),
                                    static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD), &boundary);
        for (utf8proc_ssize_t index = 0; index < count; ++index) {
            const auto part = parts.at(static_cast<std::size_t>(index));
            const auto* property = utf8proc_get_property(part);
            if (property->category != UTF8PROC_CATEGORY_MN || property->combining_class < 10) {
                appendCharacter(folded, static_cast<char32_t>(part));
            }
        }
    }
    return folded;
}

TEST(TextFolder, FoldsEveryCharacterAsUnicodeDefinesItHoweverOftenItComes) {
    TextFolder folder;
    for (char32_t character = 0; character <= 0x10FFFF; ++character) {
        if (character >= 0xD800 && character <= 0xDFFF) {
            continue;
        }
        std::string text;
        appendCharacter(text, character);
        const auto expected = foldedByDefinition(text);
        ASSERT_EQ(folder.fold(text), expected) << "at first, U+" << std::hex << static_cast<unsigned>(character);
        ASSERT_EQ(folder.fold(text), expected) << "again, U+" << std::hex << static_cast<unsigned>(character);
    }
}

TEST(TextFolder, BytesThatAreNoCharactersAreNeverTakenForOnesThatWereSeen) {
    for (int lead = 0; lead <= 0xFF; ++lead) {
        for (const int next : {0x00, 0x01, 0x41, 0x7F, 0x80, 0xBF, 0xC3, 0xFF}) {
            for (std::size_t length = 1; length <= 6; ++length) {
                std::string text(length, static_cast<char>(next));
                text.front() = static_cast<char>(lead);
                TextFolder folder;
                for (const auto& part : {text, text + "ä日😀", "ä日😀" + text}) {
                    ASSERT_EQ(folder.fold(part), foldedByDefinition(part)) << lead << " " << next << " " << length;
                }
            }
        }
    }
}

/// Characters that fold to none, to one, to several, to ASCII and to themselves, from alphabets of all lengths; and bytes
/// that are no characters.
class RandomText {
public:
    explicit RandomText(unsigned seed) : random(seed) {}

    std::string next() {
        std::string text;
        for (auto pieces = random() % 24; pieces > 0; --pieces) {
            switch (random() % 6) {
            case 0:
                appendCharacter(text, static_cast<char32_t>(random() % 0x110000)); // surrogates come out malformed
                break;
            case 1:
                text += static_cast<char>(random());
                break;
            case 2:
                appendCharacter(text, static_cast<char32_t>(0x80 + random() % 0x780));
                break;
            case 3:
                text += static_cast<char>(' ' + random() % 95);
                break;
            default:
                text += common.at(random() % common.size());
            }
        }
        return text;
    }

    std::string partOf(const std::string& text) {
        const auto start = random() % (text.size() + 1);
        return text.substr(start, random() % (text.size() - start + 1));
    }

private:
    std::vector<std::string> common{
        "a",          "A",       "ä",  "A\u0308",  "ß",    "SS",   "ﬃ",    "ffi",
        "İ",          "i\u0307", "ı",  "K",        "k",    "Å",    "ŉ",    "ΐ",
        "Σ",          "ς",       "が", "か",       "हि",   "각",   "é",    "É",
        "\U0001D160", "😀",       "Ж",  "\xE2\x82", "\xF0", "\xC3", "\x80", "\xFF\xFF\xFF\xFF",
        "日"};
    std::mt19937 random;
};

TEST(FoldedQuery, RandomTextIsComparedAsItsFoldedFormsAre) {
    const auto* given = std::getenv("TAVO_SEED"); // NOLINT(concurrency-mt-unsafe): nobody changes it
    const auto seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE("TAVO_SEED=" + std::to_string(seed));
    RandomText texts(seed);
    int found = 0;
    for (int round = 0; round < 2'000; ++round) {
        const auto source = texts.next();
        const auto query = texts.partOf(source);
        FoldedQuery compared(query);
        for (const auto& text : {source, query, texts.next(), texts.partOf(source), texts.next() + source}) {
            const auto wanted = foldedByDefinition(query);
            const auto folded = foldedByDefinition(text);
            const bool isThere = !wanted.empty() && folded.find(wanted) != std::string::npos;
            ASSERT_EQ(compared.isContainedIn(text), isThere) << "'" << query << "' in '" << text << "'";
            ASSERT_EQ(compared.equals(text), folded == wanted) << "'" << query << "' and '" << text << "'";
            found += isThere ? 1 : 0;
        }
    }
    EXPECT_GT(found, 2'000);
}

} // namespace
} // namespace tavo
