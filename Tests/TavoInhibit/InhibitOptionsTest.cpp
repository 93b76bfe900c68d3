#include "TavoInhibit/InhibitOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

using Action = InhibitOptions::Action;

InhibitOptions parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "tavo-inhibit");
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    return parseInhibitOptions(static_cast<int>(pointers.size()), pointers.data());
}

TEST(InhibitOptions, TheTwoFlagsMayStandApartOrTogetherAndInAnyOrder) {
    EXPECT_EQ(parse({"-i"}).action, Action::hold);
    EXPECT_FALSE(parse({"-i"}).sleep);
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"-i", "-s"}, {"-s", "-i"}, {"-is"}, {"-si"}}) {
        EXPECT_EQ(parse(arguments).action, Action::hold);
        EXPECT_TRUE(parse(arguments).sleep);
    }
}

TEST(InhibitOptions, HelpAndVersionWinOverALock) {
    EXPECT_EQ(parse({"-i", "--help"}).action, Action::showHelp);
    EXPECT_EQ(parse({"--version"}).action, Action::showVersion);
}

TEST(InhibitOptions, WhatIsNotUnderstoodIsRejectedWithASentence) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {}, {"-s"}, {"-d"}, {"-i", "-t", "60"}, {"-i", "sleep"}, {"-"}, {"--"}, {"--idle"}, {"-ix"}, {""}}) {
        const auto line = parse(arguments);
        EXPECT_EQ(line.action, Action::rejectUsage);
        EXPECT_TRUE(line.problem.ends_with("; try tavo-inhibit --help")) << line.problem;
    }
    EXPECT_EQ(parse({"-\033[2J"}).problem, "\"- [2J\" is not understood; try tavo-inhibit --help");
}

TEST(InhibitOptions, TheHelpFitsATerminal) {
    const auto text = helpText();
    std::size_t start = 0;
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
        EXPECT_LE(end - start, 80U) << text.substr(start, end - start);
        start = end + 1;
    }
    EXPECT_EQ(start, text.size());
}

TEST(InhibitOptions, TheHelpEndsWithAnExampleThatWorks) {
    EXPECT_TRUE(helpText().ends_with("\nEXAMPLE\n    sleep 60 | tavo-inhibit -i -s\n"));
    EXPECT_EQ(parse({"-i", "-s"}).action, Action::hold);
}

} // namespace
} // namespace tavo
