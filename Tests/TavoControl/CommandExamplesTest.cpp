#include "TavoControl/CommandExamples.h"

#include "TavoControl/ExitStatus.h"
#include "TavoControl/ParsedArguments.h"
#include "app/CommandLineHelp.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tavo {
namespace {

using ::testing::HasSubstr;

Arguments wordsOf(std::string_view line) {
    std::istringstream text{std::string(line)};
    return {std::istream_iterator<std::string>(text), {}};
}

/// The words of every command, the program's own first: none.
std::vector<Arguments> allCommands() {
    std::vector<Arguments> found;
    const std::function<void(const CLI::App&, const Arguments&)> collect = [&](const CLI::App& command,
                                                                               const Arguments& words) {
        found.push_back(words);
        for (const auto* each : commandsOf(command)) {
            auto longer = words;
            longer.push_back(each->get_name());
            collect(*each, longer);
        }
    };
    inspectCommandLine([&](const CLI::App& program) { collect(program, {}); });
    return found;
}

/// Without its newline, and without what indents or introduces it.
std::string lastLine(std::string_view text) {
    text.remove_suffix(1);
    text.remove_prefix(text.rfind('\n') + 1);
    return std::string(text.substr(std::min(text.find("tavoctl"), text.size())));
}

std::string helpOf(Arguments words) {
    words.emplace_back("--help");
    return reply(words).text;
}

TEST(CommandExamples, TheHelpOfEveryCommandEndsWithOneOfItsOwn) {
    const auto commands = allCommands();
    ASSERT_GT(commands.size(), 20U);
    for (const auto& command : commands) {
        const auto help = helpOf(command);
        auto words = wordsOf(lastLine(help));
        ASSERT_FALSE(words.empty()) << help;
        words.erase(words.begin());
        ASSERT_GE(words.size(), command.size()) << help;
        EXPECT_TRUE(std::equal(command.begin(), command.end(), words.begin())) << help;
        EXPECT_THAT(help, HasSubstr("\nExample")) << "it is introduced";
    }
}

TEST(CommandExamples, EachIsUnderstood) {
    for (const auto& example : commandExamples()) {
        auto words = wordsOf(example.line);
        words.erase(words.begin());
        EXPECT_TRUE(std::holds_alternative<Invocation>(parse(words))) << example.line;
    }
}

TEST(CommandExamples, NoHelpIsWiderThanItsTerminal) {
    for (const auto& command : allCommands()) {
        std::istringstream lines(helpOf(command));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), helpWidth) << line;
        }
    }
}

TEST(CommandExamples, TheExitStatusesStandInTheProgramsHelp) {
    const auto help = reply({"--help"}).text;
    for (const auto& [status, meaning] : exitStatusMeanings) {
        EXPECT_THAT(help, HasSubstr(std::to_string(static_cast<int>(status))));
        EXPECT_THAT(help, HasSubstr(std::string(meaning)));
    }
}

} // namespace
} // namespace tavo
