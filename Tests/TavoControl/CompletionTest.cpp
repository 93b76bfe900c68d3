#include "TavoControl/Completion.h"

#include "TavoControl/ControlCommandLine.h"
#include "app/CommandLineHelp.h"
#include "app/LaunchCommandLine.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using Words = std::vector<std::string>;

std::vector<ProcessSample> noProcesses() {
    ADD_FAILURE() << "nobody needs the processes here";
    return {};
}

CompletionAnswer answerTo(const Words& words, const ProcessListing& processes = noProcesses) {
    CompletionAnswer answer;
    inspectCommandLine([&](const CLI::App& program) {
        answer = completionOf(program, {.shell = CompletingShell::fish, .words = words}, processes);
    });
    return answer;
}

Words candidates(const Words& words, const ProcessListing& processes = noProcesses) {
    const auto answer = answerTo(words, processes);
    EXPECT_EQ(answer.kind, CompletionAnswer::Kind::words);
    Words result;
    for (const auto& candidate : answer.candidates) {
        result.push_back(candidate.word);
    }
    return result;
}

/// The lines that the shell's script reads.
std::string text(const Words& arguments, const ProcessListing& processes = noProcesses) {
    return completeCommandLine(arguments, processes).value_or("nothing");
}

TEST(Completion, ACommandLineBeginsWithACommand) {
    const auto commands = candidates({""});
    EXPECT_THAT(commands, Contains("status"));
    EXPECT_THAT(commands, Contains("helper"));
    EXPECT_THAT(commands, Not(Contains("--version")));
    EXPECT_EQ(commands, candidates({"--root", "/there", ""}));
    EXPECT_EQ(commands, candidates({"--root=/there", "st"})) << "the shell finds those that begin so";
    EXPECT_THAT(candidates({"helper", ""}), ElementsAre("status", "install", "uninstall", "reset"));
    EXPECT_THAT(answerTo({"stauts", ""}).candidates, IsEmpty()) << "nobody knows its options";
}

TEST(Completion, EveryOptionOfTheHelpIsACandidateAndHasItsText) {
    std::size_t seen = 0;
    inspectCommandLine([&](const CLI::App& program) {
        for (const auto* command : commandsOf(program)) {
            for (const auto* option : optionsOf(*command)) {
                const CompletionCandidate candidate{namesOf(*option).back(), option->get_description()};
                EXPECT_THAT(answerTo({command->get_name(), "-"}).candidates, Contains(candidate));
                ++seen;
            }
        }
    });
    EXPECT_GT(seen, 50U);
    EXPECT_THAT(candidates({"-"}), Contains("--version"));
    EXPECT_THAT(candidates({"status", ""}), Contains("--json")) << "it takes nothing else";
}

TEST(Completion, AnOptionIsOfferedOnceUnlessItMayBeRepeated) {
    const auto left = candidates({"run", "--json", "--power", "ac", "--lid=open", "--pid", "1", "-"});
    for (const auto* given : {"--json", "--power", "--lid"}) {
        EXPECT_THAT(left, Not(Contains(given)));
    }
    EXPECT_THAT(left, Contains("--pid"));
    EXPECT_THAT(left, Contains("--cutoff"));
}

TEST(Completion, ValuesFollowTheirOption) {
    EXPECT_THAT(candidates({"run", "--preset", ""}), ElementsAre("always", "codex", "claudeCode", "cursor"));
    EXPECT_THAT(candidates({"run", "--power", "a"}), ElementsAre("any", "ac", "battery"));
    EXPECT_THAT(candidates({"run", "--power=a"}), ElementsAre("--power=any", "--power=ac", "--power=battery"));
    EXPECT_THAT(candidates({"run", "--lid", ""}), ElementsAre("open", "closed", "both"));
    EXPECT_THAT(candidates({"run", "--cutoff", ""}), ElementsAre("none"));
    EXPECT_THAT(candidates({"run", "--for", ""}), IsEmpty());
    EXPECT_THAT(candidates({"run", "--bogus=", ""}), Contains("--always")) << "a wrong word does not end it";
    EXPECT_THAT(candidates({"run", "--bogus=x"}), IsEmpty());
    EXPECT_EQ(answerTo({"status", "--root", ""}).kind, CompletionAnswer::Kind::folders);
    EXPECT_EQ(answerTo({"--root=/"}).kind, CompletionAnswer::Kind::folders);
}

TEST(Completion, ArgumentsAreFilledOneByOne) {
    EXPECT_THAT(candidates({"preset", ""}), ElementsAre("always", "codex", "claudeCode", "cursor"));
    EXPECT_THAT(candidates({"login", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(candidates({"get", ""}), Contains("pollIntervalSeconds"));
    EXPECT_THAT(candidates({"set", ""}), Not(Contains("pollIntervalSeconds"))) << "it is fixed";
    EXPECT_THAT(candidates({"set", ""}), Contains("watchMode"));
    EXPECT_THAT(candidates({"set", "watchMode", ""}), ElementsAre("open", "closed", "both"));
    EXPECT_THAT(candidates({"set", "isEnabled", "t"}), ElementsAre("true", "false"));
    EXPECT_THAT(candidates({"set", "batteryCutoffPercent", ""}), ElementsAre("none"));
    EXPECT_THAT(candidates({"set", "trigger.query", "x"}), IsEmpty());
    EXPECT_THAT(candidates({"set", "nonsense", "x"}), IsEmpty());
    EXPECT_THAT(candidates({"set", "watchMode", "open", "x"}), IsEmpty());
    EXPECT_THAT(candidates({"login", "on", ""}), Contains("--while-working"));
}

TEST(Completion, EveryCandidateOfASettingCanBeSet) {
    for (const auto& key : candidates({"set", ""})) {
        for (const auto& value : candidates({"set", key, ""})) {
            if (!value.starts_with('-')) {
                const std::vector<const char*> words{"tavoctl", "set", key.c_str(), value.c_str()};
                EXPECT_TRUE(std::holds_alternative<Invocation>(parseCommandLine(4, words.data()))) << key << value;
            }
        }
    }
}

TEST(Completion, AfterTheDashesOfExecAnotherCommandLineBegins) {
    const auto start = [](const Words& words) {
        const auto answer = answerTo(words);
        EXPECT_EQ(answer.kind, CompletionAnswer::Kind::command);
        return answer.commandStart;
    };
    EXPECT_EQ(start({"exec", "--", ""}), 3U);
    EXPECT_EQ(start({"exec", "--power", "ac", "--", "make", "--", "-"}), 5U);
    EXPECT_THAT(candidates({"exec", ""}), ElementsAre("--"));
    EXPECT_THAT(candidates({"exec", "--power", "--"}), ElementsAre("any", "ac", "battery"));
}

std::vector<ProcessSample> someProcesses() {
    std::vector<ProcessSample> processes{{.pid = 2, .executableName = "kthreadd"},
                                         {.pid = 3, .parentPID = 2, .executableName = "kworker"}};
    std::int32_t pid = 100;
    for (const auto* name : {"make", "Google Chrome", "claude", "make", "",     "$(touch x)", "`x`", "a\nb", "a;b",
                             "-rf",  "a'b",           "a\"b",   "a\\b", "a b ", "\x1b[2J",    "a:b", "a=b",  "~",
                             "*",    "\xc3\xa4",      "a\tb",   "#x",   "!x"}) {
        processes.push_back({.pid = pid++, .parentPID = 1, .executableName = name});
    }
    return processes;
}

TEST(Completion, RunningProgramsAreNamedUnlessAShellCouldStumbleOverTheirNames) {
    EXPECT_THAT(candidates({"match", "--executable", ""}, someProcesses),
                ElementsAre("Google Chrome", "claude", "make"));
    const auto answer = answerTo({"run", "--pid", ""}, someProcesses);
    EXPECT_THAT(answer.candidates, Contains(CompletionCandidate{"100", "make"}));
    EXPECT_THAT(answer.candidates, Contains(CompletionCandidate{"107", "a^Jb"}));
    EXPECT_THAT(answer.candidates, Not(Contains(CompletionCandidate{"2", "kthreadd"})));
}

TEST(Completion, EachShellGetsItsOwnForm) {
    EXPECT_EQ(text({"bash", "tavoctl", "match", "--executable", "Go"}, someProcesses), "words\nGoogle\\ Chrome\n");
    EXPECT_EQ(text({"bash", "tavoctl", "match", "--executable", "Google\\ "}, someProcesses),
              "words\nGoogle\\ Chrome\n");
    EXPECT_EQ(text({"bash", "tavoctl", "run", "--power", "=", "a"}), "words\nany\nac\n");
    EXPECT_EQ(text({"bash", "tavoctl", "run", "--power=a"}), "words\nany\nac\n") << "as bash 3.2 has it";
    EXPECT_EQ(text({"bash", "tavoctl", "exec", "--power", "=", "ac", "--", "ma"}), "command 6\n");
    EXPECT_EQ(text({"zsh", "tavoctl", "login", "o"}), "words\non\noff\n");
    EXPECT_TRUE(text({"fish", "tavoctl", "helper", ""}).starts_with("words\nstatus\tshow its state and "));
    EXPECT_EQ(text({"fish", "tavoctl", "--root", ""}), "folders\n");
}

TEST(Completion, TheDesktopAppIsCompletedToo) {
    EXPECT_EQ(text({"bash", "tavo", "--h"}), "words\n--help\n--hidden\n");
    EXPECT_EQ(text({"bash", "tavo", "--root", ""}), "folders\n");
    EXPECT_EQ(text({"bash", "tavo", "st"}), "words\n");
}

TEST(Completion, ARequestThatMakesNoSenseIsRefused) {
    for (const auto& arguments : {Words{}, Words{"bash"}, Words{"tcsh", "tavoctl", ""}, Words{"bash", "rm", ""}}) {
        EXPECT_EQ(completeCommandLine(arguments, noProcesses), std::nullopt);
    }
    EXPECT_EQ(text({"bash", "tavoctl"}), "words\n") << "without a word there is nothing to complete";
}

TEST(Completion, ItIsKnownOfEveryValueWhereItComesFrom) {
    std::size_t seen = 0;
    const std::function<void(const CLI::App&)> look = [&](const CLI::App& command) {
        for (const auto* option : command.get_options()) {
            if (option->get_items_expected_max() > 0) {
                EXPECT_TRUE(valueSourceOf(command, *option).has_value())
                    << command.get_name() << option->get_name(true);
                ++seen;
            }
        }
        for (const auto* each : commandsOf(command)) {
            look(*each);
        }
    };
    inspectCommandLine(look);
    inspectLaunchCommandLine(look);
    EXPECT_GT(seen, 40U);
}

} // namespace
} // namespace tavo
