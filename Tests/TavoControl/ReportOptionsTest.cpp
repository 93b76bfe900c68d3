#include "TavoControl/ParsedArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;

TEST(ReportOptions, TheHistoryGoesBackADayOrAsFarAsItIsAsked) {
    const auto since = [](const Arguments& arguments) {
        return std::get<HistoryOptions>(invocation(arguments).command).since;
    };
    EXPECT_EQ(since({"history"}), std::chrono::hours{24});
    EXPECT_EQ(since({"history", "--since", "90m"}), std::chrono::minutes{90});
    EXPECT_EQ(since({"history", "--since=1h30m", "--json"}), std::chrono::minutes{90});
    EXPECT_TRUE(std::get<HistoryOptions>(invocation({"history", "--json"}).command).json);
    for (const auto* given : {"0", "0s", "24", "-1h", "1d", "yesterday", "1h 30m", "9999999h", "h", "1.5h"}) {
        const auto refusal = reply({"history", std::string("--since=") + given});
        EXPECT_TRUE(refusal.isError) << given;
        EXPECT_THAT(refusal.text, HasSubstr("--since takes a duration such as")) << given;
        EXPECT_THAT(refusal.text, HasSubstr(std::string("not \"") + given + "\"")) << given;
    }
    EXPECT_THAT(reply({"history", "--since", ""}).text, HasSubstr("--since must not be empty"));
    EXPECT_THAT(reply({"history", "--since"}).text, HasSubstr("--since needs a value"));
}

TEST(ReportOptions, TheHelpListsTheirCommands) {
    for (const auto* word : {"history", "explain", "watch"}) {
        EXPECT_THAT(reply({"--help"}).text, HasSubstr(word));
    }
    EXPECT_THAT(reply({"history", "--help"}).text, HasSubstr("--since DURATION"));
}

TEST(ReportOptions, ExplainAndWatchTakeNothingButJson) {
    EXPECT_FALSE(std::get<ExplainOptions>(invocation({"explain"}).command).json);
    EXPECT_TRUE(std::get<ExplainOptions>(invocation({"explain", "--json"}).command).json);
    EXPECT_TRUE(std::get<WatchOptions>(invocation({"watch", "--json"}).command).json);
    EXPECT_TRUE(reply({"watch", "--since", "24h"}).isError);
    EXPECT_TRUE(reply({"explain", "codex"}).isError);
}

} // namespace
} // namespace tavo
