#include "system/CommandRunning.h"

#include "system/SystemCommandRunner.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(ShellQuoting, ASingleQuoteClosesTheWordAndOpensItAgain) {
    EXPECT_EQ(shellQuoted("/tmp/a'b"), R"('/tmp/a'\''b')");
    EXPECT_EQ(shellQuoted("''"), R"(''\'''\''')");
    EXPECT_EQ(shellQuoted(""), "''");
    EXPECT_EQ(shellQuoted("/plain/path"), "'/plain/path'");
}

TEST(ShellQuoting, ACommandBecomesOneLine) {
    EXPECT_EQ(shellLine({.executableURL = "/bin/echo", .arguments = {"a b", "", "c'd"}}),
              R"('/bin/echo' 'a b' '' 'c'\''d')");
}

/// A word goes through a real shell, which hands it on as the one argument of a program that prints it.
class QuotedWord : public testing::TestWithParam<std::string> {};

TEST_P(QuotedWord, ComesOutOfARealShellAsItWentIn) {
    SystemCommandRunner runner;
    // The child's line ends in a mark, since the runner takes white space off the end of what it read.
    const auto line = shellLine({.executableURL = TAVO_TEST_CHILD, .arguments = {"arguments", GetParam(), "end"}});
    const auto result = runner.run({.executableURL = "/bin/sh", .arguments = {"-c", line}});
    EXPECT_EQ(result.standardOutput, "[" + GetParam() + "][end]");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardError, "");
}

INSTANTIATE_TEST_SUITE_P(ShellQuoting, QuotedWord,
                         testing::Values("", " ", "two words", "'", "a'b", "''", "'\\''", "\"", "a\"b", "\\", "\\n",
                                         "ends in \\", "line\nfeed", "\n", "a\tb", "\r\n", "$HOME", "$(id)", "${x}",
                                         "`id`", "!!", "~", "*", "?", "[a]", "{a,b}", "#no comment", "a;b", "a&b|c",
                                         "<>", "(a)", "-n", "--", "=", "%s", "été", "ü'ß", "日本語 ’quote’",
                                         "\U0001F600", "'; exit 7; '", "$'\\x41'"));

} // namespace
} // namespace tavo
