#include "base/Text.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(Text, TrimmingTakesUnicodeWhiteSpaceOffBothEndsAndLeavesTheMiddle) {
    EXPECT_EQ(trimWhitespaceAndNewlines("  hello\n\n"), "hello");
    EXPECT_EQ(trimWhitespaceAndNewlines("\u00A0\u2003\u2028a b\u3000\u0085\t"), "a b");
    EXPECT_EQ(trimWhitespaceAndNewlines(" \r\n\v\f "), "");
    EXPECT_EQ(trimWhitespaceAndNewlines(""), "");
    EXPECT_EQ(trimWhitespaceAndNewlines("é"), "é");
}

TEST(Text, HorizontalTrimmingLeavesNewlines) {
    EXPECT_EQ(trimWhitespace(" \t\u2003\na\n "), "\na\n");
}

TEST(Text, LinesEndAtEveryNewlineCharacterAndEmptyOnesAreLeftOut) {
    EXPECT_EQ(splitLines("a\nb\v\fc\r\nd\u0085e\u2028f\u2029"),
              (std::vector<std::string_view>{"a", "b", "c", "d", "e", "f"}));
    EXPECT_TRUE(splitLines("\n\n").empty());
    EXPECT_TRUE(splitLines("").empty());
}

TEST(Text, MalformedUTF8BecomesReplacementCharacters) {
    EXPECT_EQ(repairUTF8("plain"), "plain");
    EXPECT_EQ(repairUTF8("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(repairUTF8("\xE2\x82"), "\uFFFD");
    EXPECT_EQ(repairUTF8("\xF0\x9F\x98"
                         "x"),
              "\uFFFDx");
    EXPECT_EQ(repairUTF8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(repairUTF8("\xC0\xAF"), "\uFFFD\uFFFD");
    EXPECT_EQ(repairUTF8("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(repairUTF8("é€😀"), "é€😀");
}

TEST(Text, WidthIsCountedInGraphemeClusters) {
    EXPECT_EQ(prefixLength("abc", 2), 2U);
    EXPECT_EQ(prefixLength("abc", 9), 3U);
    EXPECT_EQ(prefixLength("", 3), 0U);
    EXPECT_EQ(prefixLength("e\u0301x", 1), 3U);
    const std::string family = "👩\u200D👩\u200D👧";
    EXPECT_EQ(prefixLength(family + "x", 1), family.size());
    const std::string flags = "🇩🇪🇫🇷";
    EXPECT_EQ(prefixLength(flags, 1), flags.size() / 2);
}

TEST(Text, LettersOfEveryScriptBecomeLowerCase) {
    EXPECT_EQ(lowercased("Codex ÉCOLE ΣΊΓΜΑ 日本"), "codex école σίγμα 日本");
    EXPECT_EQ(lowercased(""), "");
}

TEST(Text, ControlCharactersBecomeVisible) {
    EXPECT_EQ(visibleControls("a\x1B[31mb\x7F\n"), "a^[[31mb^?^J");
    EXPECT_EQ(visibleControls("\u009B2J \u202Eabc \u2028"), "\\u{9b}2J \\u{202e}abc \\u{2028}");
    EXPECT_EQ(visibleControls("schön ✓"), "schön ✓");
    EXPECT_EQ(visibleControls("\xFF"), "\uFFFD");
}

TEST(Text, ControlCharactersBecomeEscapesOfJson) {
    EXPECT_EQ(escapedControlsInJson("{\n  \"a\": \"\u009B2J\x7F\u202Eabc\u2028 \u061C\u2066\u0085\"\n}"),
              "{\n  \"a\": \"\\u009b2J\\u007f\\u202eabc\\u2028 \\u061c\\u2066\\u0085\"\n}");
    EXPECT_EQ(escapedControlsInJson("\"schön ✓ \\u001b\""), "\"schön ✓ \\u001b\"");
}

} // namespace
} // namespace tavo
