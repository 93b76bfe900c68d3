#include "TavoInhibit/Wording.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace tavo {
namespace {

TEST(Wording, EveryControlCharacterBecomesASpaceAndLettersStay) {
    EXPECT_EQ(withoutControls("a\tb\x7F"
                              "c\033d"),
              "a b c d");
    EXPECT_EQ(withoutControls("a\u009Bb\u2029c\u202Ed\u2066e\u200Ff\u061Cg"), "a b c d e f g");
    EXPECT_EQ(withoutControls("déjà vu, \u00A0\u4E2D\u2010\u2070"), "déjà vu, \u00A0\u4E2D\u2010\u2070");
    EXPECT_EQ(withoutControls("\xC2"), "\xC2");
    EXPECT_EQ(withoutControls(std::string_view("\0", 1)), " ");
}

TEST(Wording, ACutTextEndsBetweenCharactersAndSaysThatItIsCut) {
    EXPECT_EQ(shortened("short", 5), "short");
    EXPECT_EQ(shortened("longer", 5), "lo...");
    EXPECT_EQ(shortened("aéééé", 6), "aé...");
    EXPECT_EQ(shortened("aéééé", 7), "aé...");
}

TEST(Wording, AMessageIsMadeToFitIntoASentence) {
    EXPECT_EQ(quotedMessage("Access denied."), "access denied");
    EXPECT_EQ(quotedMessage("GDBus.Error: no"), "GDBus.Error: no");
    EXPECT_EQ(quotedMessage("X"), "x");
    EXPECT_EQ(quotedMessage("..."), "");
    EXPECT_EQ(quotedMessage(std::string(1000, 'y')).size(), 300U);
    EXPECT_EQ(quotedError(ENOENT), "no such file or directory");
}

} // namespace
} // namespace tavo
