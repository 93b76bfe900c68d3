#include "app/LaunchCommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;

std::variant<LaunchOptions, LaunchReply> parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "tavo");
    return parseLaunchCommandLine(static_cast<int>(arguments.size()), arguments.data(), "1.2.3");
}

LaunchReply reply(const std::vector<const char*>& arguments) {
    return std::get<LaunchReply>(parse(arguments));
}

LaunchOptions options(const std::vector<const char*>& arguments) {
    return std::get<LaunchOptions>(parse(arguments));
}

TEST(LaunchCommandLine, EveryOptionIsUnderstood) {
    EXPECT_FALSE(options({}).isHidden);
    EXPECT_EQ(options({}).whileWorking, std::nullopt);
    EXPECT_TRUE(options({"--hidden"}).isHidden);
    EXPECT_EQ(options({}).action, RequestedAction::showWindow);
    EXPECT_EQ(options({"--settings"}).action, RequestedAction::showSettings);
    EXPECT_EQ(options({"--enable", "--hidden"}).action, RequestedAction::enable);
    EXPECT_EQ(options({"--pause"}).action, RequestedAction::pause);
    EXPECT_EQ(options({"--root", "/there"}).root, "/there");
    EXPECT_EQ(options({"--while-working"}).whileWorking, WorkRequirement());
    EXPECT_EQ(options({"--while-working", "--busy", "2.5", "--grace", "1h30m"}).whileWorking,
              (WorkRequirement{.busyPercent = 2.5, .grace = std::chrono::minutes{90}}));
}

TEST(LaunchCommandLine, TheVersionAndTheHelpAreNoErrors) {
    EXPECT_EQ(reply({"--version"}).text, "tavo 1.2.3\n");
    EXPECT_FALSE(reply({"--version"}).isError);
    const auto help = reply({"--help"});
    EXPECT_FALSE(help.isError);
    for (const auto* word : {"--while-working", "--busy PERCENT", "--grace DURATION", "--hidden", "--settings",
                             "--enable", "--pause", "--root DIR", "--version", "-h, --help"}) {
        EXPECT_THAT(help.text, HasSubstr(word));
    }
}

TEST(LaunchCommandLine, TheExampleOfTheHelpWorks) {
    const auto help = reply({"--help"}).text;
    const std::string example = "\nExample: tavo --hidden --while-working\n";
    EXPECT_TRUE(help.ends_with(example)) << help;
    EXPECT_TRUE(options({"--hidden", "--while-working"}).whileWorking.has_value());
}

TEST(LaunchCommandLine, EveryWrongUsageIsSaidInALowerCaseSentence) {
    const std::vector<std::pair<std::vector<const char*>, std::string>> cases{
        {{"--bogus"}, "the following argument was not expected: --bogus; tavo --help lists what there is."},
        {{"--hiden"}, "the following argument was not expected: --hiden; did you mean --hidden?"},
        {{"--rot=/there"}, "the following argument was not expected: --rot=/there; did you mean --root?"},
        {{"hidden"}, "the following argument was not expected: hidden; did you mean --hidden?"},
        {{"--busy", "2"}, "--busy needs --while-working; tavo --help lists what there is."},
        {{"--grace", "5m"}, "--grace needs --while-working; tavo --help lists what there is."},
        {{"--settings", "--enable"},
         "only one of --settings, --enable and --pause may be given; tavo --help lists what there is."},
        {{"--pause", "--settings"},
         "only one of --settings, --enable and --pause may be given; tavo --help lists what there is."},
        {{"--enable", "--pause"},
         "only one of --settings, --enable and --pause may be given; tavo --help lists what there is."},
        {{"--enable", "--enable"},
         "only one of --settings, --enable and --pause may be given; tavo --help lists what there is."},
        {{"--settings", "--hidden"},
         "--settings shows the window, and --hidden does not; tavo --help lists what there is."}};
    for (const auto& [arguments, sentence] : cases) {
        EXPECT_TRUE(reply(arguments).isError) << sentence;
        EXPECT_EQ(reply(arguments).text, sentence);
    }
    EXPECT_TRUE(reply({"--while-working", "--busy", "0"}).isError);
    EXPECT_TRUE(reply({"--root"}).isError);
    EXPECT_TRUE(reply({"--enable=no"}).isError);
}

} // namespace
} // namespace tavo
