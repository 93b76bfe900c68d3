#include "TavoControl/CommandOptions.h"

#include "TavoControl/ParsedArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;

TEST(CommandOptions, EveryTriggerOptionMakesItsRule) {
    EXPECT_EQ(run({"--always"}).overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(run({"--preset", "always"}).overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(run({"--preset", "codex"}).overrides.trigger, defaultRule(TriggerPreset::codex));
    EXPECT_EQ(run({"--preset", "claudeCode"}).overrides.trigger, defaultRule(TriggerPreset::claudeCode));
    EXPECT_EQ(run({"--preset=cursor"}).overrides.trigger, defaultRule(TriggerPreset::cursor));
    EXPECT_EQ(run({"--executable", "rsync"}).overrides.trigger, custom(TriggerMatchStrategy::executableName, "rsync"));
    EXPECT_EQ(run({"--command", " make -j 2 "}).overrides.trigger,
              custom(TriggerMatchStrategy::commandLineContains, "make -j 2"));
}

TEST(CommandOptions, EveryPowerSourceIsUnderstood) {
    EXPECT_EQ(run({"--power", "any"}).overrides.powerSourcePolicy, PowerSourcePolicy::any);
    EXPECT_EQ(run({"--power", "ac"}).overrides.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(run({"--power", "battery"}).overrides.powerSourcePolicy, PowerSourcePolicy::batteryOnly);
}

TEST(CommandOptions, EveryLidStateIsUnderstood) {
    EXPECT_EQ(run({"--lid", "open"}).overrides.watchMode, WatchMode::open);
    EXPECT_EQ(run({"--lid", "closed"}).overrides.watchMode, WatchMode::closed);
    EXPECT_EQ(run({"--lid", "both"}).overrides.watchMode, WatchMode::both);
}

TEST(CommandOptions, TheCutoffIsAPercentageOrNone) {
    using Override = std::optional<std::optional<std::int64_t>>;
    EXPECT_EQ(run({"--cutoff", "1"}).overrides.batteryCutoffPercent, Override(1));
    EXPECT_EQ(run({"--cutoff", "100"}).overrides.batteryCutoffPercent, Override(100));
    EXPECT_EQ(run({"--cutoff", "none"}).overrides.batteryCutoffPercent, Override(std::in_place));
    EXPECT_FALSE(run({"--always"}).overrides.batteryCutoffPercent.has_value());
}

TEST(CommandOptions, ACutoffThatIsNoPercentageIsRefused) {
    for (const auto* given : {"0", "101", "-5", "+-5", "abc", "None", "5.5", "1e1", "0x20", " 20", "20 ", "20%",
                              "2147483648", "99999999999999999999"}) {
        const auto refusal = reply({"run", std::string("--cutoff=") + given});
        EXPECT_TRUE(refusal.isError);
        EXPECT_THAT(refusal.text,
                    HasSubstr(std::string("--cutoff takes a percentage from 1 to 100 or none, not \"") + given + "\""));
    }
}

TEST(CommandOptions, TwoTriggersAreRefusedWhicheverTheyAre) {
    const std::vector<Arguments> triggers{
        {"--always"}, {"--preset", "codex"}, {"--executable", "codex"}, {"--command", "codex"}};
    for (std::size_t first = 0; first < triggers.size(); ++first) {
        for (std::size_t second = first + 1; second < triggers.size(); ++second) {
            Arguments arguments{"run"};
            arguments.insert(arguments.end(), triggers[first].begin(), triggers[first].end());
            arguments.insert(arguments.end(), triggers[second].begin(), triggers[second].end());
            const auto refusal = reply(arguments);
            EXPECT_TRUE(refusal.isError);
            EXPECT_THAT(refusal.text, HasSubstr("only one of --always, --preset, --executable and --command"));
        }
    }
}

TEST(CommandOptions, OptionsOfOneRunGoTogether) {
    const auto options = run({"--json", "--command", "codex", "--power", "ac", "--cutoff", "none", "--lid", "both"});
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.overrides.trigger && options.overrides.powerSourcePolicy &&
                options.overrides.batteryCutoffPercent && options.overrides.watchMode);
}

TEST(CommandOptions, RunMayAskForWork) {
    EXPECT_EQ(run({"--preset", "codex"}).whileWorking, std::nullopt);
    EXPECT_EQ(run({"--while-working"}).whileWorking, WorkRequirement());
    EXPECT_EQ(run({"--preset", "codex", "--while-working", "--busy", "2.5", "--grace", "1h30m"}).whileWorking,
              (WorkRequirement{.busyPercent = 2.5, .grace = std::chrono::minutes{90}}));
    EXPECT_EQ(run({"--while-working", "--grace=0"}).whileWorking,
              (WorkRequirement{.busyPercent = 1, .grace = std::chrono::seconds{0}}));
}

TEST(CommandOptions, WorkThatMakesNoSenseIsRefused) {
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{"--busy", "2"}, "--busy needs --while-working"},
        {{"--grace", "5m"}, "--grace needs --while-working"},
        {{"--while-working", "--busy", "0"}, "--busy takes a percentage of one core"},
        {{"--while-working", "--busy", ""}, "--busy must not be empty"},
        {{"--while-working", "--grace", "10"}, "--grace takes a duration"},
        {{"--while-working", "--grace", "-5m"}, "--grace"},
        {{"--while-working", "--always"}, "--while-working needs a process to watch"},
        {{"--while-working", "--preset", "always"}, "--while-working needs a process to watch"},
        {{"--while-working=false"}, "--while-working takes no value"}};
    for (const auto& [arguments, sentence] : cases) {
        auto all = arguments;
        all.insert(all.begin(), "run");
        EXPECT_TRUE(reply(all).isError) << sentence;
        EXPECT_THAT(reply(all).text, HasSubstr(sentence));
    }
}

TEST(CommandOptions, RunMayBeBounded) {
    EXPECT_EQ(run({}).bound, RunBound());
    EXPECT_EQ(run({"--always", "--for", "45m"}).bound, RunBound{.length = std::chrono::minutes{45}});
    EXPECT_EQ(run({"--until=18:30"}).bound, (RunBound{.until = TimeOfDay{18, 30}}));
    const auto processes = run({"--pid", "12", "--power", "ac", "--pid=34", "--for", "2h"});
    EXPECT_EQ(processes.bound, (RunBound{.length = std::chrono::hours{2}, .processes = {12, 34}}));
    EXPECT_EQ(processes.overrides.trigger, defaultRule(TriggerPreset::always));
}

TEST(CommandOptions, BoundsThatMakeNoSenseAreRefused) {
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{"--for", "0"}, "--for takes a duration"},
        {{"--for", "-5m"}, "--for"},
        {{"--for", ""}, "--for must not be empty"},
        {{"--until", "25:00"}, "--until takes a time of the day"},
        {{"--for", "1h", "--until", "12:00"}, "only one of --for and --until"},
        {{"--for", "1h", "--for", "2h"}, "--for may be given only once"},
        {{"--pid"}, "--pid needs a value"},
        {{"--pid", "12", "34"}, "34"},
        {{"--pid", "0"}, "--pid takes the process id"},
        {{"--pid", "-1"}, "--pid"},
        {{"--pid", "1", "--always"}, "--pid is a trigger of its own"},
        {{"--pid", "1", "--preset", "codex"}, "--pid is a trigger of its own"},
        {{"--pid", "1", "--while-working"}, "--while-working needs a process to watch"}};
    for (const auto& [arguments, sentence] : cases) {
        auto all = arguments;
        all.insert(all.begin(), "run");
        const auto answer = reply(all);
        EXPECT_TRUE(answer.isError) << sentence;
        EXPECT_THAT(answer.text, HasSubstr(sentence));
    }
}

TEST(CommandOptions, ProcessesTakesARuleOrNone) {
    EXPECT_EQ(processes({}).rule, std::nullopt);
    EXPECT_EQ(processes({"--preset", "codex"}).rule, defaultRule(TriggerPreset::codex));
    EXPECT_EQ(processes({"--executable", "rsync"}).rule, custom(TriggerMatchStrategy::executableName, "rsync"));
    EXPECT_EQ(processes({"--command", "codex"}).rule, custom(TriggerMatchStrategy::commandLineContains, "codex"));
}

TEST(CommandOptions, ProcessesMayMeasure) {
    EXPECT_EQ(processes({}).cpu, std::nullopt);
    EXPECT_EQ(processes({"--cpu"}).cpu, WorkRequirement());
    EXPECT_EQ(processes({"--cpu", "--busy", "3"}).cpu, WorkRequirement{.busyPercent = 3});
    EXPECT_THAT(reply({"processes", "--busy", "3"}).text, HasSubstr("--busy needs --cpu"));
    EXPECT_THAT(reply({"processes", "--cpu", "--busy", "-3"}).text, HasSubstr("--busy takes a percentage"));
}

TEST(CommandOptions, TheHistoryGoesBackADayOrAsFarAsItIsAsked) {
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

} // namespace
} // namespace tavo
