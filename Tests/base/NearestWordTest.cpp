#include "base/NearestWord.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

const std::vector<std::string> commands{"run",    "exec",   "status", "enable", "disable",
                                        "toggle", "preset", "set",    "get",    "explain"};

std::string nearest(std::string_view given, const std::vector<std::string>& words = commands) {
    return nearestWord(given, words).value_or("");
}

TEST(NearestWord, ASlipOfTheFingersIsFound) {
    EXPECT_EQ(nearest("stauts"), "status") << "two letters are swapped";
    EXPECT_EQ(nearest("statuss"), "status") << "one is added";
    EXPECT_EQ(nearest("staus"), "status") << "one is left out";
    EXPECT_EQ(nearest("atatus"), "status") << "one is replaced";
    EXPECT_EQ(nearest("rnu"), "run");
    EXPECT_EQ(nearest("exlpian"), "explain") << "two mistakes in a longer word";
}

TEST(NearestWord, LetterCaseIsNoMistake) {
    EXPECT_EQ(nearest("STATUS"), "status");
    EXPECT_EQ(nearest("watchmode", {"watchMode", "isEnabled"}), "watchMode");
}

TEST(NearestWord, AWordThatIsBegunIsFoundWhereThereIsOnlyOne) {
    EXPECT_EQ(nearest("claude", {"codex", "claudeCode"}), "claudeCode");
    EXPECT_EQ(nearest("explai"), "explain");
    EXPECT_EQ(nearest("ex"), "") << "exec and explain begin so";
    EXPECT_EQ(nearest("d"), "") << "a letter is too little";
}

TEST(NearestWord, OfEquallyNearWordsItIsTheOneThatBeginsAlike) {
    EXPECT_EQ(nearest("of", {"on", "off"}), "off");
    EXPECT_EQ(nearest("sset"), "set");
    EXPECT_EQ(nearest("gset"), "get");
}

TEST(NearestWord, NothingIsFoundFarAway) {
    for (const auto* given : {"", "x", "foo", "remove", "vim", "start", "unrelated", "-", "\xff\xfe"}) {
        EXPECT_EQ(nearest(given), "") << given;
    }
    EXPECT_EQ(nearest("a", {"b"}), "") << "of one letter nothing would be left";
    EXPECT_EQ(nearest("status", {}), "");
    EXPECT_EQ(nearest(std::string(1 << 20, 'x')), "") << "the length alone decides";
}

TEST(NearestWord, TheQuestionNamesIt) {
    EXPECT_EQ(didYouMean("status"), "; did you mean status?");
    EXPECT_EQ(didYouMean(std::nullopt), "");
}

} // namespace
} // namespace tavo
