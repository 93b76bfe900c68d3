#include "TavoControl/ControlCommandLine.h"

#include "TavoControl/ParsedArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ControlCommandLine, RunWithoutOptionsOverridesNothing) {
    const auto options = run({});
    EXPECT_TRUE(options.overrides.isEmpty());
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(invocation({"run"}).root.has_value());
}

TEST(ControlCommandLine, EveryCommandPrintsJsonWhenAsked) {
    EXPECT_TRUE(run({"--json"}).json);
    EXPECT_TRUE(processes({"--json"}).json);
    EXPECT_TRUE(std::get<StatusOptions>(invocation({"status", "--json"}).command).json);
    EXPECT_TRUE(std::get<DoctorOptions>(invocation({"doctor", "--json"}).command).json);
    EXPECT_FALSE(std::get<StatusOptions>(invocation({"status"}).command).json);
    EXPECT_FALSE(std::get<DoctorOptions>(invocation({"doctor"}).command).json);
}

TEST(ControlCommandLine, TheHelperHasCommandsOfItsOwn) {
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

TEST(ControlCommandLine, TheRootMayStandBeforeAndAfterEveryCommand) {
    for (const auto* command : {"run", "status", "processes", "history", "explain", "watch", "doctor"}) {
        EXPECT_EQ(invocation({"--root", "/some/where", command}).root, "/some/where") << command;
        EXPECT_EQ(invocation({command, "--root", "/some/where"}).root, "/some/where") << command;
        EXPECT_EQ(invocation({command, "--root=/some/where", "--json"}).root, "/some/where") << command;
    }
}

TEST(ControlCommandLine, ARelativeRootIsTakenFromTheWorkingFolder) {
    EXPECT_EQ(invocation({"--root", "here", "status"}).root, std::filesystem::current_path() / "here");
}

TEST(ControlCommandLine, HelpIsNoErrorAndListsTheCommands) {
    for (const auto* flag : {"--help", "-h"}) {
        const auto help = reply({flag});
        EXPECT_FALSE(help.isError);
        EXPECT_TRUE(help.text.ends_with("\n"));
        for (const auto* word : {"run", "status", "processes", "doctor", "--root DIR", "--version"}) {
            EXPECT_THAT(help.text, HasSubstr(word));
        }
    }
}

TEST(ControlCommandLine, TheHelpOfACommandListsItsOwnOptions) {
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

TEST(ControlCommandLine, TheHelpNamesEveryPresetThatIsAccepted) {
    for (const auto preset : allCases<TriggerPreset>()) {
        EXPECT_THAT(reply({"run", "--help"}).text, HasSubstr(std::string(rawValue(preset))));
    }
}

TEST(ControlCommandLine, TheVersionIsNoError) {
    const auto version = reply({"--version"});
    EXPECT_FALSE(version.isError);
    EXPECT_THAT(version.text, ::testing::MatchesRegex("tavoctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

struct WrongUsage {
    Arguments arguments;
    /// The sentence without its pointer to the help.
    std::string sentence;
};

const std::vector<WrongUsage> wrongUsages{
    {{}, "name a command, as in tavoctl status"},
    {{"--bogus"}, "name a command, as in tavoctl status"},
    {{"foo"}, "there is no command \"foo\""},
    {{"helper"}, "name a command of helper: status, install, uninstall or reset"},
    {{"helper", "remove"}, "there is no command \"remove\""},
    {{"run", "status"}, "the following argument was not expected: status"},
    {{"status", "extra"}, "the following argument was not expected: extra"},
    {{"status", "--always"}, "the following argument was not expected: --always"},
    {{"processes", "--always"}, "the following argument was not expected: --always"},
    {{"run", "--bogus"}, "the following argument was not expected: --bogus"},
    {{"run", "a\nb"}, "the following argument was not expected: a b"},
    {{"run", "--preset"}, "--preset needs a value"},
    {{"run", "--preset", ""}, "--preset must not be empty"},
    {{"run", "--preset="}, "--preset needs a value"},
    {{"run", "--preset", "vim"}, "--preset takes one of always, codex, claudeCode, cursor, not \"vim\""},
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

TEST(ControlCommandLine, EveryWrongUsageIsSaidInOneLowerCaseLine) {
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

TEST(ControlCommandLine, AMistypedWordIsAnsweredWithTheNearestOne) {
    const std::vector<WrongUsage> slips{
        {{"stauts"}, "there is no command \"stauts\"; did you mean status?"},
        {{"Run"}, "there is no command \"Run\"; did you mean run?"},
        {{"--root", "/there", "stauts"}, "there is no command \"stauts\"; did you mean status?"},
        {{"helper", "isntall"}, "there is no command \"isntall\"; did you mean install?"},
        {{"install"}, "there is no command \"install\"; did you mean helper install?"},
        {{"--vesion"}, "the following argument was not expected: --vesion; did you mean --version?"},
        {{"status", "--jsn"}, "the following argument was not expected: --jsn; did you mean --json?"},
        {{"run", "--pwoer=ac"}, "the following argument was not expected: --pwoer=ac; did you mean --power?"},
        {{"run", "--pwoer", "ac"}, "the following arguments were not expected: ac --pwoer; did you mean --power?"},
        {{"run", "always"}, "the following argument was not expected: always; did you mean --always?"},
        {{"helper", "status", "--josn"}, "the following argument was not expected: --josn; did you mean --json?"},
        {{"run", "--preset", "Codex"},
         "--preset takes one of always, codex, claudeCode, cursor, not \"Codex\"; did you mean codex?"},
        {{"preset", "claude"},
         "preset takes one of always, codex, claudeCode, cursor, not \"claude\"; did you mean claudeCode?"},
        {{"run", "--lid", "close"}, "--lid takes one of open, closed, both, not \"close\"; did you mean closed?"},
        {{"run", "--cutoff", "None"},
         "--cutoff takes a percentage from 1 to 100 or none, not \"None\"; did you mean none?"},
        {{"login", "of"}, "login takes one of on, off, not \"of\"; did you mean off?"},
    };
    for (const auto& slip : slips) {
        SCOPED_TRACE(::testing::PrintToString(slip.arguments));
        EXPECT_TRUE(reply(slip.arguments).isError);
        EXPECT_EQ(reply(slip.arguments).text, slip.sentence);
    }
}

ChangeOptions change(const Arguments& arguments) {
    return std::get<ChangeOptions>(invocation(arguments).command);
}

TEST(ControlCommandLine, TheMasterSwitchHasThreeCommands) {
    EXPECT_EQ(change({"enable"}).kind, ChangeOptions::Kind::enable);
    EXPECT_EQ(change({"disable"}).kind, ChangeOptions::Kind::disable);
    EXPECT_EQ(change({"toggle"}).kind, ChangeOptions::Kind::toggle);
    EXPECT_EQ(invocation({"enable", "--root", "/there"}).root, "/there");
}

TEST(ControlCommandLine, ATriggerIsAPresetOrAMatch) {
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

TEST(ControlCommandLine, ASettingIsAKeyWithAValue) {
    const auto options = change({"set", "watchMode", "closed"});
    EXPECT_EQ(options.kind, ChangeOptions::Kind::set);
    EXPECT_EQ(options.key, "watchMode");
    EXPECT_EQ(options.value, "closed");
    EXPECT_FALSE(options.login);
    EXPECT_EQ(change({"set", "trigger.query", ""}).value, "");
}

TEST(ControlCommandLine, LoginIsAnotherNameForItsSetting) {
    for (const auto& [state, value] : {std::pair{"on", "true"}, std::pair{"off", "false"}}) {
        for (const auto& options : {change({"login", state}), change({"set", "launchAtLoginEnabled", value})}) {
            EXPECT_EQ(options.key, "launchAtLoginEnabled");
            EXPECT_EQ(options.value, value);
            EXPECT_TRUE(options.login);
        }
    }
}

TEST(ControlCommandLine, LoginMayAskForWork) {
    EXPECT_EQ(change({"login", "on", "--while-working", "--busy", "3"}).loginOptions.value(),
              WorkRequirement{.busyPercent = 3});
    EXPECT_EQ(change({"login", "on"}).loginOptions.value(), std::nullopt);
    EXPECT_FALSE(change({"set", "launchAtLoginEnabled", "true"}).loginOptions.has_value());
    EXPECT_THAT(reply({"login", "off", "--while-working"}).text, HasSubstr("--while-working goes with login on"));
    EXPECT_THAT(reply({"login", "on", "--grace", "5m"}).text, HasSubstr("--grace needs --while-working"));
    EXPECT_THAT(reply({"login", "on", "--while-working", "--grace", "x"}).text, HasSubstr("--grace takes a duration"));
}

TEST(ControlCommandLine, SettingsAreReadAllOrOne) {
    EXPECT_EQ(std::get<GetOptions>(invocation({"get"}).command).key, std::nullopt);
    EXPECT_EQ(std::get<GetOptions>(invocation({"get", "watchMode"}).command).key, "watchMode");
    EXPECT_TRUE(std::get<GetOptions>(invocation({"get", "--json"}).command).json);
}

TEST(ControlCommandLine, AMissingPartOfAChangeIsNamed) {
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

TEST(ControlCommandLine, ExecTakesEverythingAfterTheDashesAsTheCommand) {
    const auto options = exec({"--power", "ac", "--lid", "open", "--", "make", "--help", "--power", "", "--", "-j2"});
    EXPECT_EQ(options.words, (Arguments{"make", "--help", "--power", "", "--", "-j2"}));
    EXPECT_EQ(options.overrides.trigger, defaultRule(TriggerPreset::always));
    EXPECT_EQ(options.overrides.powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(options.overrides.watchMode, WatchMode::open);
    const auto withRoot = invocation({"--root", "/tmp/exec", "exec", "--cutoff", "20", "--", "true"});
    EXPECT_EQ(withRoot.root, "/tmp/exec");
    EXPECT_EQ(std::get<ExecOptions>(withRoot.command).overrides.batteryCutoffPercent, std::optional<std::int64_t>(20));
}

TEST(ControlCommandLine, ExecWithoutACommandIsRefused) {
    for (const auto& arguments : {Arguments{"exec"}, Arguments{"exec", "--"}, Arguments{"exec", "--", ""}}) {
        EXPECT_THAT(reply(arguments).text, HasSubstr("exec needs a command after --"));
        EXPECT_TRUE(reply(arguments).isError);
    }
    EXPECT_TRUE(reply({"exec", "make"}).isError) << "the dashes tell the command's options from tavoctl's";
    EXPECT_TRUE(reply({"exec", "--always", "--", "make"}).isError) << "a command is the trigger";
    EXPECT_TRUE(reply({"exec", "--cutoff", "0", "--", "make"}).isError);
}

TEST(ControlCommandLine, DashesMeanNothingSpecialToOtherCommands) {
    EXPECT_EQ(std::get<RunOptions>(invocation({"run", "--command", "exec"}).command).overrides.trigger,
              custom(TriggerMatchStrategy::commandLineContains, "exec"));
    EXPECT_TRUE(reply({"run", "--", "exec"}).isError);
    EXPECT_TRUE(reply({"status", "exec", "--", "true"}).isError);
}

TEST(ControlCommandLine, TheHelpListsTheCommandsThatReport) {
    for (const auto* word : {"history", "explain", "watch"}) {
        EXPECT_THAT(reply({"--help"}).text, HasSubstr(word));
    }
    EXPECT_THAT(reply({"history", "--help"}).text, HasSubstr("--since DURATION"));
}

TEST(ControlCommandLine, ExplainAndWatchTakeNothingButJson) {
    EXPECT_FALSE(std::get<ExplainOptions>(invocation({"explain"}).command).json);
    EXPECT_TRUE(std::get<ExplainOptions>(invocation({"explain", "--json"}).command).json);
    EXPECT_TRUE(std::get<WatchOptions>(invocation({"watch", "--json"}).command).json);
    EXPECT_TRUE(reply({"watch", "--since", "24h"}).isError);
    EXPECT_TRUE(reply({"explain", "codex"}).isError);
}

} // namespace
} // namespace tavo
