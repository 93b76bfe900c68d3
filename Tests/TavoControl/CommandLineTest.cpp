#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ParsedArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

RunOptions run(Arguments arguments) {
    arguments.insert(arguments.begin(), "run");
    return std::get<RunOptions>(invocation(arguments).command);
}

ProcessesOptions processes(Arguments arguments) {
    arguments.insert(arguments.begin(), "processes");
    return std::get<ProcessesOptions>(invocation(arguments).command);
}

TriggerRule custom(TriggerMatchStrategy strategy, const std::string& query) {
    return {.mode = TriggerMode::process, .matchStrategy = strategy, .query = query};
}

TEST(CommandLine, RunWithoutOptionsOverridesNothing) {
    const auto options = run({});
    EXPECT_TRUE(options.overrides.isEmpty());
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(invocation({"run"}).root.has_value());
}

TEST(CommandLine, EveryTriggerOptionMakesItsRule) {
    EXPECT_EQ(run({"--always"}).overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(run({"--preset", "always"}).overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(run({"--preset", "codex"}).overrides.trigger, defaultRule(TriggerPreset::codex));
    EXPECT_EQ(run({"--preset", "claudeCode"}).overrides.trigger, defaultRule(TriggerPreset::claudeCode));
    EXPECT_EQ(run({"--preset=cursor"}).overrides.trigger, defaultRule(TriggerPreset::cursor));
    EXPECT_EQ(run({"--executable", "rsync"}).overrides.trigger, custom(TriggerMatchStrategy::executableName, "rsync"));
    EXPECT_EQ(run({"--command", " make -j 2 "}).overrides.trigger,
              custom(TriggerMatchStrategy::commandLineContains, "make -j 2"));
}

TEST(CommandLine, EveryPowerSourceIsUnderstood) {
    EXPECT_EQ(run({"--power", "any"}).overrides.powerSourcePolicy, PowerSourcePolicy::any);
    EXPECT_EQ(run({"--power", "ac"}).overrides.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(run({"--power", "battery"}).overrides.powerSourcePolicy, PowerSourcePolicy::batteryOnly);
}

TEST(CommandLine, EveryLidStateIsUnderstood) {
    EXPECT_EQ(run({"--lid", "open"}).overrides.watchMode, WatchMode::open);
    EXPECT_EQ(run({"--lid", "closed"}).overrides.watchMode, WatchMode::closed);
    EXPECT_EQ(run({"--lid", "both"}).overrides.watchMode, WatchMode::both);
}

TEST(CommandLine, TheCutoffIsAPercentageOrNone) {
    using Override = std::optional<std::optional<std::int64_t>>;
    EXPECT_EQ(run({"--cutoff", "1"}).overrides.batteryCutoffPercent, Override(1));
    EXPECT_EQ(run({"--cutoff", "100"}).overrides.batteryCutoffPercent, Override(100));
    EXPECT_EQ(run({"--cutoff", "none"}).overrides.batteryCutoffPercent, Override(std::in_place));
    EXPECT_FALSE(run({"--always"}).overrides.batteryCutoffPercent.has_value());
}

TEST(CommandLine, OptionsOfOneRunGoTogether) {
    const auto options = run({"--json", "--command", "codex", "--power", "ac", "--cutoff", "none", "--lid", "both"});
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.overrides.trigger && options.overrides.powerSourcePolicy &&
                options.overrides.batteryCutoffPercent && options.overrides.watchMode);
}

TEST(CommandLine, RunMayAskForWork) {
    EXPECT_EQ(run({"--preset", "codex"}).whileWorking, std::nullopt);
    EXPECT_EQ(run({"--while-working"}).whileWorking, WorkRequirement());
    EXPECT_EQ(run({"--preset", "codex", "--while-working", "--busy", "2.5", "--grace", "1h30m"}).whileWorking,
              (WorkRequirement{.busyPercent = 2.5, .grace = std::chrono::minutes{90}}));
    EXPECT_EQ(run({"--while-working", "--grace=0"}).whileWorking,
              (WorkRequirement{.busyPercent = 1, .grace = std::chrono::seconds{0}}));
}

TEST(CommandLine, WorkThatMakesNoSenseIsRefused) {
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

TEST(CommandLine, RunMayBeBounded) {
    EXPECT_EQ(run({}).bound, RunBound());
    EXPECT_EQ(run({"--always", "--for", "45m"}).bound, RunBound{.length = std::chrono::minutes{45}});
    EXPECT_EQ(run({"--until=18:30"}).bound, (RunBound{.until = TimeOfDay{18, 30}}));
    const auto processes = run({"--pid", "12", "--power", "ac", "--pid=34", "--for", "2h"});
    EXPECT_EQ(processes.bound, (RunBound{.length = std::chrono::hours{2}, .processes = {12, 34}}));
    EXPECT_EQ(processes.overrides.trigger, defaultRule(TriggerPreset::always));
}

TEST(CommandLine, BoundsThatMakeNoSenseAreRefused) {
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

TEST(CommandLine, ProcessesTakesARuleOrNone) {
    EXPECT_EQ(processes({}).rule, std::nullopt);
    EXPECT_EQ(processes({"--preset", "codex"}).rule, defaultRule(TriggerPreset::codex));
    EXPECT_EQ(processes({"--executable", "rsync"}).rule, custom(TriggerMatchStrategy::executableName, "rsync"));
    EXPECT_EQ(processes({"--command", "codex"}).rule, custom(TriggerMatchStrategy::commandLineContains, "codex"));
}

TEST(CommandLine, ProcessesMayMeasure) {
    EXPECT_EQ(processes({}).cpu, std::nullopt);
    EXPECT_EQ(processes({"--cpu"}).cpu, WorkRequirement());
    EXPECT_EQ(processes({"--cpu", "--busy", "3"}).cpu, WorkRequirement{.busyPercent = 3});
    EXPECT_THAT(reply({"processes", "--busy", "3"}).text, HasSubstr("--busy needs --cpu"));
    EXPECT_THAT(reply({"processes", "--cpu", "--busy", "-3"}).text, HasSubstr("--busy takes a percentage"));
}

TEST(CommandLine, EveryCommandPrintsJsonWhenAsked) {
    EXPECT_TRUE(run({"--json"}).json);
    EXPECT_TRUE(processes({"--json"}).json);
    EXPECT_TRUE(std::get<StatusOptions>(invocation({"status", "--json"}).command).json);
    EXPECT_TRUE(std::get<DoctorOptions>(invocation({"doctor", "--json"}).command).json);
    EXPECT_FALSE(std::get<StatusOptions>(invocation({"status"}).command).json);
    EXPECT_FALSE(std::get<DoctorOptions>(invocation({"doctor"}).command).json);
}

TEST(CommandLine, TheHelperHasCommandsOfItsOwn) {
    using Action = HelperCommandOptions::Action;
    const auto helper = [](const std::vector<std::string>& arguments) {
        return std::get<HelperCommandOptions>(invocation(arguments).command);
    };
    EXPECT_EQ(helper({"helper", "status"}).action, Action::status);
    EXPECT_FALSE(helper({"helper", "status"}).json);
    EXPECT_TRUE(helper({"helper", "status", "--json"}).json);
    EXPECT_EQ(helper({"helper", "install"}).action, Action::install);
    EXPECT_EQ(helper({"helper", "uninstall"}).action, Action::uninstall);
    EXPECT_EQ(helper({"helper", "reset"}).action, Action::reset);
    EXPECT_EQ(invocation({"helper", "install", "--root", "/some/where"}).root, "/some/where");
}

TEST(CommandLine, TheRootMayStandBeforeAndAfterEveryCommand) {
    for (const auto* command : {"run", "status", "processes", "history", "explain", "watch", "doctor"}) {
        EXPECT_EQ(invocation({"--root", "/some/where", command}).root, "/some/where") << command;
        EXPECT_EQ(invocation({command, "--root", "/some/where"}).root, "/some/where") << command;
        EXPECT_EQ(invocation({command, "--root=/some/where", "--json"}).root, "/some/where") << command;
    }
}

TEST(CommandLine, ARelativeRootIsTakenFromTheWorkingFolder) {
    EXPECT_EQ(invocation({"--root", "here", "status"}).root, std::filesystem::current_path() / "here");
}

TEST(CommandLine, HelpIsNoErrorAndListsTheCommands) {
    for (const auto* flag : {"--help", "-h"}) {
        const auto help = reply({flag});
        EXPECT_FALSE(help.isError);
        EXPECT_TRUE(help.text.ends_with("\n"));
        for (const auto* word : {"run", "status", "processes", "doctor", "--root DIR", "--version"}) {
            EXPECT_THAT(help.text, HasSubstr(word));
        }
    }
}

TEST(CommandLine, TheHelpOfACommandListsItsOwnOptions) {
    const auto help = reply({"run", "--help"});
    EXPECT_FALSE(help.isError);
    for (const auto* word : {"tavoctl run", "--always", "--preset NAME", "--executable NAME", "--command TEXT",
                             "--power SOURCE", "--cutoff PERCENT", "--lid STATE", "--json", "--root DIR"}) {
        EXPECT_THAT(help.text, HasSubstr(word));
    }
    EXPECT_THAT(reply({"processes", "-h"}).text, Not(HasSubstr("--always")));
    EXPECT_THAT(reply({"status", "--help"}).text, Not(HasSubstr("--preset")));
    EXPECT_THAT(reply({"doctor", "--help"}).text, HasSubstr("--root DIR"));
}

TEST(CommandLine, TheHelpNamesEveryPresetThatIsAccepted) {
    for (const auto preset : allCases<TriggerPreset>()) {
        EXPECT_THAT(reply({"run", "--help"}).text, HasSubstr(std::string(rawValue(preset))));
    }
}

TEST(CommandLine, TheVersionIsNoError) {
    const auto version = reply({"--version"});
    EXPECT_FALSE(version.isError);
    EXPECT_THAT(version.text, ::testing::MatchesRegex("tavoctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

struct WrongUsage {
    Arguments arguments;
    /// What the sentence says before it names the help.
    std::string sentence;
};

const std::vector<WrongUsage> wrongUsages{
    {{}, "name a command, as in tavoctl status"},
    {{"--bogus"}, "name a command, as in tavoctl status"},
    {{"foo"}, "there is no command \"foo\""},
    {{"helper"}, "name a command of helper: status, install, uninstall or reset"},
    {{"helper", "remove"}, "there is no command \"remove\""},
    {{"Run"}, "there is no command \"Run\""},
    {{"run", "status"}, "the following argument was not expected: status"},
    {{"status", "extra"}, "the following argument was not expected: extra"},
    {{"status", "--always"}, "the following argument was not expected: --always"},
    {{"processes", "--always"}, "the following argument was not expected: --always"},
    {{"run", "--bogus"}, "the following argument was not expected: --bogus"},
    {{"run", "a\nb"}, "the following argument was not expected: a b"},
    {{"run", "--preset"}, "--preset needs a value"},
    {{"run", "--preset", ""}, "--preset must not be empty"},
    {{"run", "--preset="}, "--preset needs a value"},
    {{"run", "--preset", "Codex"}, "--preset takes one of always, codex, claudeCode, cursor, not \"Codex\""},
    {{"run", "--preset", "codex", "--preset", "cursor"}, "--preset may be given only once"},
    {{"run", "--executable"}, "--executable needs a value"},
    {{"run", "--executable", ""}, "--executable must not be empty"},
    {{"run", "--executable", " \t"}, "--executable needs more than white space"},
    {{"run", "--command"}, "--command needs a value"},
    {{"run", "--command", ""}, "--command must not be empty"},
    {{"processes", "--command", "\n"}, "--command needs more than white space"},
    {{"run", "--power"}, "--power needs a value"},
    {{"run", "--power", ""}, "--power must not be empty"},
    {{"run", "--power", "acOnly"}, "--power takes one of any, ac, battery, not \"acOnly\""},
    {{"run", "--power", "a: b"}, "--power takes one of any, ac, battery, not \"a: b\""},
    {{"run", "--lid"}, "--lid needs a value"},
    {{"run", "--lid", ""}, "--lid must not be empty"},
    {{"run", "--lid", "shut"}, "--lid takes one of open, closed, both, not \"shut\""},
    {{"run", "--cutoff"}, "--cutoff needs a value"},
    {{"run", "--cutoff", ""}, "--cutoff must not be empty"},
    {{"run", "--always=5"}, "--always takes no value"},
    {{"run", "--json=maybe"}, "--json takes no value"},
    {{"--root"}, "--root needs a value"},
    {{"status", "--root"}, "--root needs a value"},
    {{"--root", "", "status"}, "--root must not be empty"},
    {{"status", "--root", ""}, "--root must not be empty"},
    {{"status", "--root", "/a", "--root", "/b"}, "--root may be given only once"},
    {{"--root", "/a", "status", "--root", "/b"}, "--root may be given only once"},
};

TEST(CommandLine, EveryWrongUsageIsSaidInOneLowerCaseLine) {
    for (const auto& wrong : wrongUsages) {
        SCOPED_TRACE(::testing::PrintToString(wrong.arguments));
        const auto parsed = parse(wrong.arguments);
        const auto* refusal = std::get_if<UsageReply>(&parsed);
        ASSERT_NE(refusal, nullptr);
        EXPECT_TRUE(refusal->isError);
        EXPECT_EQ(refusal->text, wrong.sentence + "; tavoctl --help lists what there is.");
        EXPECT_THAT(refusal->text, Not(HasSubstr("\n")));
        EXPECT_EQ(std::isupper(static_cast<unsigned char>(refusal->text[0])), 0);
    }
}

TEST(CommandLine, ACutoffThatIsNoPercentageIsRefused) {
    for (const auto* given : {"0", "101", "-5", "+-5", "abc", "None", "5.5", "1e1", "0x20", " 20", "20 ", "20%",
                              "2147483648", "99999999999999999999"}) {
        const auto refusal = reply({"run", std::string("--cutoff=") + given});
        EXPECT_TRUE(refusal.isError);
        EXPECT_THAT(refusal.text,
                    HasSubstr(std::string("--cutoff takes a percentage from 1 to 100 or none, not \"") + given + "\""));
    }
}

TEST(CommandLine, TwoTriggersAreRefusedWhicheverTheyAre) {
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

ChangeOptions change(const Arguments& arguments) {
    return std::get<ChangeOptions>(invocation(arguments).command);
}

TEST(CommandLine, TheMasterSwitchHasThreeCommands) {
    EXPECT_EQ(change({"enable"}).kind, ChangeOptions::Kind::enable);
    EXPECT_EQ(change({"disable"}).kind, ChangeOptions::Kind::disable);
    EXPECT_EQ(change({"toggle"}).kind, ChangeOptions::Kind::toggle);
    EXPECT_EQ(invocation({"enable", "--root", "/there"}).root, "/there");
}

TEST(CommandLine, ATriggerIsAPresetOrAMatch) {
    for (const auto preset : allCases<TriggerPreset>()) {
        const auto options = change({"preset", std::string(rawValue(preset))});
        EXPECT_EQ(options.kind, ChangeOptions::Kind::trigger);
        EXPECT_EQ(options.trigger, defaultRule(preset));
    }
    EXPECT_EQ(change({"match", "--executable", "blender"}).trigger,
              custom(TriggerMatchStrategy::executableName, "blender"));
    EXPECT_EQ(change({"match", "--command", " npm test "}).trigger,
              custom(TriggerMatchStrategy::commandLineContains, "npm test"));
}

TEST(CommandLine, ASettingIsAKeyWithAValue) {
    const auto options = change({"set", "watchMode", "closed"});
    EXPECT_EQ(options.kind, ChangeOptions::Kind::set);
    EXPECT_EQ(options.key, "watchMode");
    EXPECT_EQ(options.value, "closed");
    EXPECT_FALSE(options.login);
    EXPECT_EQ(change({"set", "trigger.query", ""}).value, "");
}

TEST(CommandLine, LoginIsAnotherNameForItsSetting) {
    for (const auto& [state, value] : {std::pair{"on", "true"}, std::pair{"off", "false"}}) {
        for (const auto& options : {change({"login", state}), change({"set", "launchAtLoginEnabled", value})}) {
            EXPECT_EQ(options.key, "launchAtLoginEnabled");
            EXPECT_EQ(options.value, value);
            EXPECT_TRUE(options.login);
        }
    }
}

TEST(CommandLine, LoginMayAskForWork) {
    EXPECT_EQ(change({"login", "on", "--while-working", "--busy", "3"}).loginOptions.value(),
              WorkRequirement{.busyPercent = 3});
    EXPECT_EQ(change({"login", "on"}).loginOptions.value(), std::nullopt);
    EXPECT_FALSE(change({"set", "launchAtLoginEnabled", "true"}).loginOptions.has_value());
    EXPECT_THAT(reply({"login", "off", "--while-working"}).text, HasSubstr("--while-working goes with login on"));
    EXPECT_THAT(reply({"login", "on", "--grace", "5m"}).text, HasSubstr("--grace needs --while-working"));
    EXPECT_THAT(reply({"login", "on", "--while-working", "--grace", "x"}).text, HasSubstr("--grace takes a duration"));
}

TEST(CommandLine, SettingsAreReadAllOrOne) {
    EXPECT_EQ(std::get<GetOptions>(invocation({"get"}).command).key, std::nullopt);
    EXPECT_EQ(std::get<GetOptions>(invocation({"get", "watchMode"}).command).key, "watchMode");
    EXPECT_TRUE(std::get<GetOptions>(invocation({"get", "--json"}).command).json);
}

TEST(CommandLine, WhatAChangeLacksIsSaid) {
    EXPECT_THAT(reply({"preset"}).text, HasSubstr("preset needs a name"));
    EXPECT_THAT(reply({"preset", "vim"}).text, HasSubstr("preset takes one of always, codex, claudeCode, cursor"));
    EXPECT_THAT(reply({"match"}).text, HasSubstr("match needs --executable or --command"));
    EXPECT_THAT(reply({"match", "--executable", "a", "--command", "b"}).text, HasSubstr("only one of"));
    EXPECT_THAT(reply({"set"}).text, HasSubstr("set needs a key and a value"));
    EXPECT_THAT(reply({"set", "watchMode"}).text, HasSubstr("set needs a key and a value"));
    EXPECT_THAT(reply({"set", "a", "b", "c"}).text, HasSubstr("not expected"));
    EXPECT_THAT(reply({"login"}).text, HasSubstr("on or off"));
    EXPECT_THAT(reply({"login", "maybe"}).text, HasSubstr("login takes one of on, off"));
    EXPECT_TRUE(reply({"login", "maybe"}).isError);
}

ExecOptions exec(Arguments arguments) {
    arguments.insert(arguments.begin(), "exec");
    return std::get<ExecOptions>(invocation(arguments).command);
}

TEST(CommandLine, ExecTakesEverythingAfterTheDashesAsTheCommand) {
    const auto options = exec({"--power", "ac", "--lid", "open", "--", "make", "--help", "--power", "", "--", "-j2"});
    EXPECT_EQ(options.words, (Arguments{"make", "--help", "--power", "", "--", "-j2"}));
    EXPECT_EQ(options.overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(options.overrides.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(options.overrides.watchMode, WatchMode::open);
    const auto withRoot = invocation({"--root", "/tmp/exec", "exec", "--cutoff", "20", "--", "true"});
    EXPECT_EQ(withRoot.root, "/tmp/exec");
    EXPECT_EQ(std::get<ExecOptions>(withRoot.command).overrides.batteryCutoffPercent, std::optional<std::int64_t>(20));
}

TEST(CommandLine, ExecWithoutACommandIsRefused) {
    for (const auto& arguments : {Arguments{"exec"}, Arguments{"exec", "--"}, Arguments{"exec", "--", ""}}) {
        EXPECT_THAT(reply(arguments).text, HasSubstr("exec needs a command after --"));
        EXPECT_TRUE(reply(arguments).isError);
    }
    EXPECT_TRUE(reply({"exec", "make"}).isError) << "the dashes tell the command's options from tavoctl's";
    EXPECT_TRUE(reply({"exec", "--always", "--", "make"}).isError) << "a command is the trigger";
    EXPECT_TRUE(reply({"exec", "--cutoff", "0", "--", "make"}).isError);
}

TEST(CommandLine, DashesMeanNothingSpecialToOtherCommands) {
    EXPECT_EQ(std::get<RunOptions>(invocation({"run", "--command", "exec"}).command).overrides.trigger,
              custom(TriggerMatchStrategy::commandLineContains, "exec"));
    EXPECT_TRUE(reply({"run", "--", "exec"}).isError);
    EXPECT_TRUE(reply({"status", "exec", "--", "true"}).isError);
}

} // namespace
} // namespace tavo
