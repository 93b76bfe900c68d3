#include "system/macos/PSCommandLineCompleter.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedProcessTable.h"
#include "system/macos/PSProcessSnapshotProvider.h"
#include "system/macos/TimeLimitedCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;
using Completer = PSCommandLineCompleter;
using Details = Completer::Details;

const TimePoint someMoment = TimePoint(std::chrono::seconds(1'700'000'000));
const ProcessSample launchd{1, 0, 12.5, "launchd", "launchd"};
const ProcessSample node{900, 1, 3, "node", "proj"};

struct PSCommandLines : testing::Test {
    std::shared_ptr<ScriptedProcessTable> firstRun = std::make_shared<ScriptedProcessTable>();
    std::shared_ptr<ScriptedCommandRunner> ps = std::make_shared<ScriptedCommandRunner>();

    std::vector<ProcessSample> completed(const std::vector<ProcessSample>& processes, const std::string& secondRun,
                                         int exitCode = 0) {
        firstRun->processes = processes;
        ps->results = {{.exitCode = exitCode, .standardOutput = secondRun, .standardError = {}}};
        const auto snapshot = Completer(firstRun, ps).snapshot(someMoment);
        EXPECT_EQ(snapshot.capturedAt, someMoment);
        return snapshot.processes;
    }
};

TEST_F(PSCommandLines, AreCompletedByOneMoreRun) {
    EXPECT_THAT(completed({launchd, node}, "PID STAT ARGS\n"
                                           "    1 Ss   /sbin/launchd\n"
                                           "  900 S+   node /opt/homebrew/bin/codex -C /Users/me/proj  \n"
                                           "  901 R+   /bin/ps -axww -o pid=PID,stat=STAT,args=ARGS"),
                ElementsAre(ProcessSample{1, 0, 12.5, "launchd", "/sbin/launchd"},
                            ProcessSample{900, 1, 3, "node", "node /opt/homebrew/bin/codex -C /Users/me/proj"}));
    EXPECT_EQ(firstRun->timesRead, 1);
    EXPECT_EQ(ps->commands, (std::vector<ShellCommand>{{.executableURL = "/bin/ps",
                                                        .arguments = {"-axww", "-o", "pid=PID,stat=STAT,args=ARGS"}}}));
}

TEST_F(PSCommandLines, OfProcessesThatTheSecondRunLacksStayAsTheyAre) {
    EXPECT_THAT(completed({launchd, node}, "PID STAT ARGS\n1 Ss /sbin/launchd"),
                ElementsAre(ProcessSample{1, 0, 12.5, "launchd", "/sbin/launchd"}, node));
    EXPECT_THAT(completed({launchd, node}, "PID STAT ARGS\n1 Ss\n900 S \t "), ElementsAre(launchd, node))
        << "without a command line";
}

TEST_F(PSCommandLines, StayAsTheyAreWhenTheSecondRunFails) {
    EXPECT_THAT(completed({launchd, node}, "PID STAT ARGS\n1 Ss /sbin/launchd\n900 S node /opt/homebrew/bin/cod", 9),
                ElementsAre(launchd, node));
    EXPECT_THAT(completed({launchd, node}, ""), ElementsAre(launchd, node));
    ps->failure = std::make_exception_ptr(std::system_error(EAGAIN, std::generic_category(), "/bin/ps"));
    EXPECT_THAT(completed({launchd, node}, ""), ElementsAre(launchd, node));
}

TEST_F(PSCommandLines, AZombieHasEnded) {
    EXPECT_THAT(
        completed({launchd, {900, 1, 3, "(codex)", "(codex)"}, {901, 1, 3, "codex", "codex"}},
                  "PID STAT ARGS\n1 Ss /sbin/launchd\n900 Z+ (codex)\n901 SZ codex"),
        ElementsAre(ProcessSample{1, 0, 12.5, "launchd", "/sbin/launchd"}, ProcessSample{901, 1, 3, "codex", "codex"}))
        << "the state is the first letter";
}

TEST_F(PSCommandLines, AZombieHasEndedThoughTheSecondRunSaysNothingOfIt) {
    EXPECT_THAT(completed({launchd, {900, 1, 3, "(codex)", "(codex)"}, {901, 1, 3, "codex", "(codex)"}}, "", 1),
                ElementsAre(launchd));
    const ProcessSample ringed{902, 1, 3, "codex", "(codex) -x"};
    const ProcessSample other{903, 1, 3, "codex", "(claude)"};
    EXPECT_THAT(completed({ringed, other}, "", 1), ElementsAre(ringed, other)) << "not the name alone";
    EXPECT_EQ(completed({{904, 1, 3, "(x)", "(x)"}}, "PID STAT ARGS\n904 S (x)").size(), 1U) << "said to be alive";
}

TEST_F(PSCommandLines, ASecondRunThatHungIsLeftOutForFiveMinutes) {
    firstRun->processes = {node};
    Completer completer(firstRun, ps);
    const auto commandLineAt = [&](std::chrono::seconds after) {
        ps->results = {{.exitCode = 0, .standardOutput = "PID STAT ARGS\n900 S node codex", .standardError = {}}};
        return completer.snapshot(someMoment + after).processes.front().commandLine;
    };
    ps->failure = std::make_exception_ptr(CommandTimeoutError({.executableURL = "/bin/ps"}, std::chrono::seconds{10}));
    EXPECT_EQ(commandLineAt(std::chrono::seconds{0}), "proj");
    EXPECT_EQ(commandLineAt(std::chrono::seconds{299}), "proj");
    EXPECT_EQ(ps->commands.size(), 1U);
    EXPECT_EQ(commandLineAt(std::chrono::seconds{300}), "proj") << "hangs again";
    EXPECT_EQ(ps->commands.size(), 2U);
    ps->failure = nullptr;
    EXPECT_EQ(commandLineAt(std::chrono::seconds{599}), "proj");
    EXPECT_EQ(commandLineAt(std::chrono::seconds{600}), "node codex");
    EXPECT_EQ(commandLineAt(std::chrono::seconds{601}), "node codex");
    EXPECT_EQ(firstRun->timesRead, 6) << "never left out";
}

TEST_F(PSCommandLines, AClockThatWasSetBackKeepsNoSecondRunAway) {
    firstRun->processes = {node};
    Completer completer(firstRun, ps);
    ps->failure = std::make_exception_ptr(CommandTimeoutError({.executableURL = "/bin/ps"}, std::chrono::seconds{10}));
    completer.snapshot(someMoment);
    completer.snapshot(someMoment - std::chrono::hours{1});
    EXPECT_EQ(ps->commands.size(), 2U);
}

TEST_F(PSCommandLines, ADamagedLineIsPassedOver) {
    EXPECT_THAT(completed({launchd, node}, "PID STAT ARGS\nx y z\n900\n \n99999999999 S a\n1 Ss /sbin/launchd"),
                ElementsAre(ProcessSample{1, 0, 12.5, "launchd", "/sbin/launchd"}, node));
}

TEST_F(PSCommandLines, TheErrorsOfTheFirstRunPassAndThereIsNoSecond) {
    firstRun->failure = std::make_exception_ptr(ProcessWatcherError::invalidPSOutputLine("x"));
    EXPECT_THROW(completed({}, ""), ProcessWatcherError);
    EXPECT_TRUE(ps->commands.empty());
}

/// A line of the first run as ps prints it: the name padded to its column by bytes.
std::string paddedByBytes(const std::string& numbers, const std::string& name, const std::string& arguments) {
    return numbers + " " + name + std::string(PSProcessSnapshotProvider::executableColumnWidth - name.size(), ' ') +
           " " + arguments;
}

struct NameBeyondASCII {
    std::string name;
    std::string commandLine;
};
std::ostream& operator<<(std::ostream& stream, const NameBeyondASCII& example) {
    return stream << example.name;
}
struct PSNameBeyondASCII : testing::TestWithParam<NameBeyondASCII> {};

TEST_P(PSNameBeyondASCII, SwallowsNothingOfTheArguments) {
    const auto& [name, commandLine] = GetParam();
    const auto ps = std::make_shared<ScriptedCommandRunner>();
    const auto cut = commandLine.substr(commandLine.rfind('/') + 1);
    ps->results = {
        {.exitCode = 0, .standardOutput = "header\n" + paddedByBytes("9 1 0:01", name, cut), .standardError = {}},
        {.exitCode = 0, .standardOutput = "header\n9 S " + commandLine, .standardError = {}}};
    Completer completer(std::make_shared<PSProcessSnapshotProvider>(ps), ps);
    EXPECT_THAT(completer.snapshot(someMoment).processes, ElementsAre(ProcessSample{9, 1, 1, name, commandLine}));
}

INSTANTIATE_TEST_SUITE_P(, PSNameBeyondASCII,
                         testing::Values(NameBeyondASCII{"Größe & Maß", "/Applications/Größe & Maß --flag of mine"},
                                         NameBeyondASCII{"端末", "/Applications/端末.app/端末"},
                                         NameBeyondASCII{"e\u0301diteur", "/opt/e\u0301diteur -x a b c d e f"},
                                         NameBeyondASCII{"ö", "x"},
                                         // fills the column
                                         NameBeyondASCII{std::string(68, 'x') + "ö", "/bin/y z"},
                                         NameBeyondASCII{std::string(70, 'x'), "/bin/y z"}));

TEST_F(PSCommandLines, ANameIsNotCutWithinALetter) {
    const auto name = std::string(69, 'x') + "ö";
    EXPECT_EQ(completed({{9, 1, 1, name, name}}, "").front().executableName, std::string(69, 'x'));
}

TEST(PSCommandLineText, HasAnIdAStateAndACommandLine) {
    EXPECT_THAT(Completer::parse("PID STAT ARGS\n1 Ss /sbin/launchd -x\n\t 22   Z (a b)\n3 S\n"),
                UnorderedElementsAre(Pair(1, Details{false, "/sbin/launchd -x"}), Pair(22, Details{true, "(a b)"}),
                                     Pair(3, Details{false, ""})));
}

TEST(PSCommandLineText, OfAnyKindIsNoError) {
    for (const auto* text : {"", "\n\n", "header", "1 S no header", "header\n1", "header\n+ S a", "header\n1x S a",
                             "header\n2147483648 S a", "header\n\u00A0\n", "header\n1\u00A0S a"}) {
        EXPECT_TRUE(Completer::parse(text).empty()) << text;
    }
}

TEST(PSCommandLineText, TheFirstLineOfAProcessCounts) {
    EXPECT_THAT(Completer::parse("header\n1 S first\n1 Z second"), ElementsAre(Pair(1, Details{false, "first"})));
}

} // namespace
} // namespace tavo
