#include "app/CommandLineHelp.h"

#include "base/WrappedText.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace tavo {
namespace {

using ::testing::HasSubstr;

/// A program with one of everything.
class CommandLineHelp : public ::testing::Test {
protected:
    CommandLineHelp() {
        program.set_help_flag("-h,--help", "print this help");
        program.add_option("--power", text, "a text that is long enough to need more than one of the lines beside it")
            ->type_name("SOURCE");
        program.footer("Example: program --power ac");
        open->add_flag("--wide-open-to-everybody-who-comes", flag, "a name that fills its column")->group("Doors");
        open->add_option("NAME", text, "a door");
        open->add_option("HOW", text, "how far")->default_str("all");
        call->add_option("COMMAND", words, "after --, a command");
        inner->add_flag("--json", flag, "print JSON");
    }

    void parse(const std::vector<std::string>& arguments) {
        auto reversed = arguments;
        std::reverse(reversed.begin(), reversed.end());
        try {
            program.parse(reversed);
        } catch (const CLI::ParseError&) {
            // What it could not place is asked for.
        }
    }

    std::string text;
    std::vector<std::string> words;
    bool flag = false;
    CLI::App program{"does this and that", "program"};
    CLI::App* open = program.add_subcommand("open", "open a door");
    CLI::App* call = program.add_subcommand("call", "call a command");
    CLI::App* door = program.add_subcommand("door", "a level more");
    CLI::App* inner = door->add_subcommand("paint", "paint a door");
};

TEST_F(CommandLineHelp, TheUsageNamesTheCommandsAndItsArguments) {
    EXPECT_THAT(helpText(program), HasSubstr("Usage: program [OPTIONS] COMMAND\n"));
    EXPECT_THAT(helpText(*open), HasSubstr("Usage: program open [OPTIONS] NAME [HOW]\n"));
    EXPECT_THAT(helpText(*call), HasSubstr("Usage: program call [OPTIONS] -- COMMAND...\n"));
    EXPECT_THAT(helpText(*inner), HasSubstr("Usage: program door paint [OPTIONS]\n"));
}

TEST_F(CommandLineHelp, EverythingHasItsTextBesideOrBelow) {
    EXPECT_EQ(helpText(program), "does this and that\n"
                                 "Usage: program [OPTIONS] COMMAND\n"
                                 "\n"
                                 "Commands:\n"
                                 "  open                      open a door\n"
                                 "  call                      call a command\n"
                                 "  door                      a level more\n"
                                 "\n"
                                 "Options:\n"
                                 "  -h, --help                print this help\n"
                                 "  --power SOURCE            a text that is long enough to need more than one of\n"
                                 "                            the lines beside it\n"
                                 "\n"
                                 "Example: program --power ac\n");
    EXPECT_THAT(helpText(*open), HasSubstr("\nDoors:\n"
                                           "  --wide-open-to-everybody-who-comes\n"
                                           "                            a name that fills its column\n"));
}

TEST_F(CommandLineHelp, NoLineIsWiderThanTheTerminal) {
    for (const std::size_t width : {60U, 80U, 100U, 200U}) {
        std::istringstream lines(helpText(program, width));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(characterCount(line), width) << line;
            EXPECT_FALSE(line.ends_with(' ')) << line;
        }
    }
    EXPECT_EQ(helpText(program, 1), helpText(program, 40)) << "there is no narrower table";
    EXPECT_THAT(helpText(program, 200), HasSubstr("more than one of the lines beside it\n"));
}

TEST_F(CommandLineHelp, TheNearestOptionIsFoundWithItsDashesOrWithout) {
    for (const auto* given : {"--pwoer", "--pwoer=ac", "-power", "power", "--POWER"}) {
        EXPECT_EQ(nearestOption(program, given), "--power") << given;
    }
    for (const auto* given : {"--bogus", "--", "-", "", "--json", "=power"}) {
        EXPECT_EQ(nearestOption(program, given), std::nullopt) << given;
    }
}

TEST_F(CommandLineHelp, TheNearestCommandMayBeALevelDown) {
    EXPECT_EQ(nearestCommand(program, "opne"), "open");
    EXPECT_EQ(nearestCommand(program, "pant"), "door paint");
    EXPECT_EQ(nearestCommand(program, "remove"), std::nullopt);
}

TEST_F(CommandLineHelp, WhatTheParserCouldNotPlaceIsKnownWithItsCommand) {
    parse({"door", "paint", "--jsn"});
    ASSERT_TRUE(unplacedArgument(program).has_value());
    EXPECT_EQ(unplacedArgument(program)->text, "--jsn");
    EXPECT_EQ(unplacedArgument(program)->command, inner);
    EXPECT_EQ(&namedCommand(program), inner);
    parse({"--pwr", "open", "front"});
    EXPECT_EQ(unplacedArgument(program)->text, "--pwr");
    EXPECT_EQ(unplacedArgument(program)->command, &program);
    parse({"open", "front"});
    EXPECT_FALSE(unplacedArgument(program).has_value());
}

} // namespace
} // namespace tavo
