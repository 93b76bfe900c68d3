#include "system/macos/PSProcessSnapshotProvider.h"

#include "base/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <system_error>

namespace tavo {
namespace {

using Provider = PSProcessSnapshotProvider;
using testing::ElementsAre;
using testing::HasSubstr;

const TimePoint someMoment = TimePoint(std::chrono::seconds(1'700'000'000));

/// A line as ps prints it: right-aligned numbers, the name padded to its column, then the arguments.
std::string psLine(const std::string& numbers, const std::string& name, const std::string& arguments) {
    const auto characters = [&] {
        std::size_t count = 0;
        while (prefixLength(name, count) < name.size()) {
            ++count;
        }
        return count;
    }();
    return numbers + " " + name + std::string(Provider::executableColumnWidth - characters, ' ') + " " + arguments;
}

ProcessWatcherError errorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const ProcessWatcherError& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return ProcessWatcherError::malformedTimeValue("nothing was thrown");
}

void expectMalformedTime(const std::string& value) {
    const auto error = errorOf([&] { Provider::parseCPUTime(value); });
    EXPECT_EQ(error.kind(), ProcessWatcherError::Kind::malformedTimeValue) << value;
    EXPECT_EQ(error.payload(), value);
    EXPECT_EQ(error.description(), "could not parse cpu time value: " + std::string(value.c_str()));
}

void expectInvalidLine(const std::string& line) {
    const auto error = errorOf([&] { Provider::parseProcessLine(line); });
    EXPECT_EQ(error.kind(), ProcessWatcherError::Kind::invalidPSOutputLine) << line;
    EXPECT_EQ(error.payload(), line);
    EXPECT_EQ(error.description(), "could not parse ps output line: " + line);
}

TEST(PSCPUTime, HasMinutesAndSecondsAndMayHaveHoursAndDays) {
    EXPECT_EQ(Provider::parseCPUTime("1:02.50"), 62.5);
    EXPECT_EQ(Provider::parseCPUTime("01:00:00"), 3600);
    EXPECT_EQ(Provider::parseCPUTime("2-03:04:05"), 183845);
    EXPECT_EQ(Provider::parseCPUTime("1-02:03"), 86523);
    EXPECT_EQ(Provider::parseCPUTime("0:00.00"), 0);
    EXPECT_EQ(Provider::parseCPUTime("1234:56.78"), 74096.78);
    EXPECT_EQ(Provider::parseCPUTime("1.5-00:00"), 129600);
}

TEST(PSCPUTime, EmptyPiecesAreDropped) {
    EXPECT_EQ(Provider::parseCPUTime(":1::02:"), 62);
    EXPECT_EQ(Provider::parseCPUTime("--1-0:01"), 86401) << "hyphens in front leave no piece";
}

TEST(PSCPUTime, AHyphenWithoutDaysBelongsToTheClock) {
    EXPECT_EQ(Provider::parseCPUTime("-1:02"), -58);
    EXPECT_EQ(Provider::parseCPUTime("1--2:03"), 86400 - 120 + 3);
    expectMalformedTime("1:02-");
    expectMalformedTime("--1:02");
}

TEST(PSCPUTime, AnythingElseIsMalformed) {
    for (const auto* value :
         {"",         "12",          "12.5",        "1:2:3:4", "a:b",    "x-01:00", "1-",    "-",
          "--",       ":",           "::",          "1:",      ":1",     "1-2",     "1:2x",  "1: 2",
          " 1:02",    "1:02 ",       "1:0x10",      "inf:00",  "0:nan",  "1,5:00",  "0:1,5", "1-x:00",
          "1e999:00", "1e306-00:00", "1e306:00:00", "١:٠٢",    "1:02\n", "-x-1:02"}) {
        expectMalformedTime(value);
    }
    expectMalformedTime(std::string("1:0\0002", 5));
}

TEST(PSProcessLine, HasAnIdAParentATimeANameAndArguments) {
    EXPECT_EQ(Provider::parseProcessLine(psLine("  412     1   0:01.25", "codex", "/usr/local/bin/codex --full-auto")),
              (ProcessSample{412, 1, 1.25, "codex", "/usr/local/bin/codex --full-auto"}));
}

TEST(PSProcessLine, ANameWithSpacesIsKeptWhole) {
    const auto sample = Provider::parseProcessLine(
        psLine("7 1 0:00.00", "Cursor Helper (Renderer)", "/Applications/Cursor.app/Cursor Helper --type=renderer"));
    EXPECT_EQ(sample.executableName, "Cursor Helper (Renderer)");
    EXPECT_EQ(sample.commandLine, "/Applications/Cursor.app/Cursor Helper --type=renderer");
}

TEST(PSProcessLine, ArgumentsBeginAtCharacter71OfTheRest) {
    const std::string name(70, 'n');
    EXPECT_EQ(Provider::executableColumnWidth, 70U);
    EXPECT_EQ(Provider::parseProcessLine("7 1 0:00 " + name + "args"), (ProcessSample{7, 1, 0, name, "args"}));
    EXPECT_EQ(Provider::parseProcessLine("7 1 0:00 " + name), (ProcessSample{7, 1, 0, name, name}));
    EXPECT_EQ(Provider::parseProcessLine("7 1 0:00 " + name.substr(1) + " args").executableName, name.substr(1));
}

TEST(PSProcessLine, TheNameColumnIsMeasuredInCharacters) {
    const std::string name = "Приложение e\u0301 👩\u200D👩\u200D👧";
    EXPECT_EQ(Provider::parseProcessLine(psLine("7 1 0:00", name, "--öffnen x")),
              (ProcessSample{7, 1, 0, name, "--öffnen x"}));
}

TEST(PSProcessLine, WithoutArgumentsTheNameIsTheCommandLine) {
    EXPECT_EQ(Provider::parseProcessLine(psLine("7 1 0:00", "kernel_task", "")).commandLine, "kernel_task");
    EXPECT_EQ(Provider::parseProcessLine(psLine("7 1 0:00", "kernel_task", " \t ")).commandLine, "kernel_task");
}

TEST(PSProcessLine, MayEndAfterTheTime) {
    EXPECT_EQ(Provider::parseProcessLine("7 1 0:01"), (ProcessSample{7, 1, 1, "", ""}));
    EXPECT_EQ(Provider::parseProcessLine("7 1 0:01   "), (ProcessSample{7, 1, 1, "", ""}));
}

TEST(PSProcessLine, FieldsAreSeparatedByAnyHorizontalWhiteSpace) {
    EXPECT_EQ(Provider::parseProcessLine("\u00A0+7\t-1\u30000:01\u2003x"), (ProcessSample{7, -1, 1, "x", "x"}));
}

TEST(PSProcessLine, WithoutTwoIdsIsInvalid) {
    for (const auto* line : {"abc 1 0:01.00 foo", "1 abc 0:01.00 foo", "", "   ", "7", "7 ", "7x 1 0:01 foo",
                             "2147483648 1 0:01 foo", "1 -2147483649 0:01 foo", "+-7 1 0:01 foo", "1.0 1 0:01 foo",
                             "0x7 1 0:01 foo", "- 1 0:01 foo", "7\u20281 0:01 foo", "\xFF 1 0:01 foo"}) {
        expectInvalidLine(line);
    }
}

TEST(PSProcessLine, AnInvalidIdIsReportedBeforeAMalformedTime) {
    expectInvalidLine("abc 1 nonsense foo");
    const auto error = errorOf([] { Provider::parseProcessLine("7 1 nonsense foo"); });
    EXPECT_EQ(error.kind(), ProcessWatcherError::Kind::malformedTimeValue);
    EXPECT_EQ(error.payload(), "nonsense");
    EXPECT_EQ(errorOf([] { Provider::parseProcessLine("7 1"); }).payload(), "");
}

TEST(PSOutput, WithoutProcessesIsAnEmptySnapshot) {
    for (const auto* output : {"", "  PID  PPID TIME EXECUTABLE ARGS", "\n\n", "   \n \t \n  ", "header\n   \n"}) {
        EXPECT_EQ(Provider::parse(output, someMoment), (ProcessSnapshot{.capturedAt = someMoment, .processes = {}}));
    }
}

TEST(PSOutput, IsReadInItsOwnOrderWithoutTheFirstLine) {
    const auto output = psLine("PID PPID TIME", std::string(Provider::executableColumnHeader), "ARGS") + "\r\n" +
                        psLine("9 1 0:01", "b", "b -x") + "\n \t\n" + psLine("3 9 0:02", "a", "");
    EXPECT_THAT(Provider::parse(output, someMoment).processes,
                ElementsAre(ProcessSample{9, 1, 1, "b", "b -x"}, ProcessSample{3, 9, 2, "a", "a"}));
    EXPECT_TRUE(Provider::parse("1 1 0:01 not a header", someMoment).processes.empty());
}

TEST(PSOutput, IsWholeOrAnError) {
    const auto error = errorOf([] { Provider::parse("header\n1 0 0:01 init\n  junk here\n2 1 0:0x z", someMoment); });
    EXPECT_EQ(error.payload(), "  junk here") << "the first offending line, unchanged";
}

struct ScriptedPS final : CommandRunning {
    ShellCommand asked;
    ShellCommandResult answer;
    bool cannotBeLaunched = false;

    bool supportsPrivilegedCommands() const override { return false; }

    ShellCommandResult run(const ShellCommand& command) override {
        asked = command;
        if (cannotBeLaunched) {
            throw std::system_error(ENOENT, std::generic_category(), "/bin/ps");
        }
        return answer;
    }

    std::shared_ptr<RunningCommand> start(const ShellCommand& /*command*/) override {
        ADD_FAILURE() << "ps is no long-lived command";
        return nullptr;
    }
};

TEST(PSProcessSnapshotProvider, RunsPSOnceWithALongHeaderForTheName) {
    const auto ps = std::make_shared<ScriptedPS>();
    ps->answer.standardOutput = "header\n" + psLine("9 1 0:01", "b", "b -x");
    EXPECT_EQ(Provider(ps).snapshot(someMoment),
              (ProcessSnapshot{.capturedAt = someMoment, .processes = {ProcessSample{9, 1, 1, "b", "b -x"}}}));
    EXPECT_EQ(ps->asked,
              (ShellCommand{.executableURL = "/bin/ps",
                            .arguments = {"-axwwc", "-o",
                                          "pid=PID,ppid=PPID,time=TIME,command=EXECUTABLE_____________________________"
                                          "_______________________________,args=ARGS"}}));
}

TEST(PSProcessSnapshotProvider, TheExitStatusOfPSDoesNotCount) {
    const auto ps = std::make_shared<ScriptedPS>();
    ps->answer = {.exitCode = 1, .standardOutput = "header\n9 1 0:01 b", .standardError = "ps: complaint"};
    EXPECT_EQ(Provider(ps).snapshot(someMoment).processes.size(), 1U);
}

TEST(PSProcessSnapshotProvider, APSThatCannotBeLaunchedIsTheRunnersError) {
    const auto ps = std::make_shared<ScriptedPS>();
    ps->cannotBeLaunched = true;
    try {
        Provider(ps).snapshot(someMoment);
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_THAT(error.what(), HasSubstr("/bin/ps"));
    }
}

} // namespace
} // namespace tavo
