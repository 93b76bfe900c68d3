#include "TavoControl/CommandLineWords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CommandLineWords, AsGivenTheyStayAsTheyAre) {
    EXPECT_THAT(wordsAsGiven({"run", "a\\b"}), ElementsAre(CommandLineWord{"run", 1}, CommandLineWord{"a\\b", 2}));
    EXPECT_THAT(wordsAsGiven({}), IsEmpty());
}

TEST(CommandLineWords, OfBashTheyLoseTheirQuotes) {
    EXPECT_THAT(wordsOfBash({R"(a\ b)", R"('c "d')", R"("e 'f")", R"("open)", R"('half)", R"(tail\)", "''"}),
                ElementsAre(CommandLineWord{"a b", 1}, CommandLineWord{"c \"d", 2}, CommandLineWord{"e 'f", 3},
                            CommandLineWord{"open", 4}, CommandLineWord{"half", 5}, CommandLineWord{"tail\\", 6},
                            CommandLineWord{"", 7}));
}

TEST(CommandLineWords, OfBashNothingIsRun) {
    EXPECT_THAT(wordsOfBash({"$(date)", "`date`", "~"}),
                ElementsAre(CommandLineWord{"$(date)", 1}, CommandLineWord{"`date`", 2}, CommandLineWord{"~", 3}));
}

TEST(CommandLineWords, OfBashAnOptionAndItsValueAreOneWordAgain) {
    EXPECT_THAT(wordsOfBash({"run", "--power", "=", "ac", "--json"}),
                ElementsAre(CommandLineWord{"run", 1}, CommandLineWord{"--power=ac", 2}, CommandLineWord{"--json", 5}));
    EXPECT_THAT(wordsOfBash({"run", "--power", "="}),
                ElementsAre(CommandLineWord{"run", 1}, CommandLineWord{"--power=", 2}));
    EXPECT_THAT(wordsOfBash({"=", "run", "=", "x"}), ElementsAre(CommandLineWord{"=", 1}, CommandLineWord{"run", 2},
                                                                 CommandLineWord{"=", 3}, CommandLineWord{"x", 4}));
}

TEST(CommandLineWords, ForBashBlanksAreQuotedAndTheOptionIsLeftOut) {
    EXPECT_EQ(quotedForBash("Google Chrome"), "Google\\ Chrome");
    EXPECT_EQ(quotedForBash("--power=ac"), "ac");
    EXPECT_EQ(quotedForBash("--power"), "--power");
}

} // namespace
} // namespace tavo
