#include "TavoInhibit/InhibitTest.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class InhibitProgramTest : public InhibitTest {
protected:
    /// How the program would be woken by time alone: its armed timers, and a wait that has an end.
    /// Empty when nothing but an event wakes it; nothing when this kernel does not say.
    std::optional<std::string> timedWakeUps() const {
        const auto process = "/proc/" + std::to_string(program->pid());
        std::ifstream call(process + "/syscall");
        long number = -1;
        std::vector<unsigned long> arguments(6);
        call >> number >> std::hex;
        for (auto& argument : arguments) {
            call >> argument;
        }
        if (!call) {
            return std::nullopt;
        }
        std::string found;
        // epoll_pwait2(2) waits for ever with a null time-out, epoll_wait(2) with -1.
        const auto waitsForEver = number == SYS_epoll_pwait2 ? arguments[3] == 0
                                  : number == SYS_epoll_wait || number == SYS_epoll_pwait
                                      ? static_cast<int>(arguments[3]) == -1
                                      : false;
        found += waitsForEver ? "" : "not in an endless wait; ";
        for (const auto& entry : std::filesystem::directory_iterator(process + "/fdinfo")) {
            std::ifstream info(entry.path());
            for (std::string line; std::getline(info, line);) {
                found += line.starts_with("it_value:") && line != "it_value: (0, 0)" ? "armed timer, " + line : "";
            }
        }
        return found;
    }
};

TEST_F(InhibitProgramTest, TerminationReleasesEverything) {
    for (const auto signal : {SIGTERM, SIGINT, SIGHUP}) {
        logind.reset();
        startHolding();
        program->signal(signal);
        EXPECT_EQ(waitForExit(), 0) << signal;
        EXPECT_EQ(logind->heldLocks(), 0U);
    }
}

TEST_F(InhibitProgramTest, TerminationBeforeLogindAnsweredEndsItAtOnce) {
    startLogind().stayAvailableButSilent();
    startInhibit();
    ASSERT_TRUE(pump.until([this] { return !logind->calls().empty(); }));
    program->signal(SIGTERM);
    EXPECT_EQ(waitForExit(), 0);
    EXPECT_EQ(program->outputSoFar(), "");
}

TEST_F(InhibitProgramTest, AHangUpThatTheParentIgnoredStaysIgnored) {
    startLogind();
    spawn("nohup", {{inhibitProgram, "-i"}, environment()});
    ASSERT_TRUE(waitForLine("logind held idle"));
    std::ifstream statusFile("/proc/" + std::to_string(program->pid()) + "/status");
    std::stringstream status;
    status << statusFile.rdbuf();
    // proc(5): the mask of blocked signals; 1 is the bit of SIGHUP, which must not be taken from the event loop then.
    std::string blocked = status.str().substr(status.str().find("SigBlk:") + 7);
    EXPECT_EQ(std::stoull(blocked, nullptr, 16) & 1U, 0U);
    program->signal(SIGHUP);
    program->signal(SIGTERM);
    EXPECT_EQ(waitForExit(), 0);
}

TEST_F(InhibitProgramTest, DataOnStandardInputIsIgnored) {
    startHolding();
    program->writeInput("anything\n");
    sessionBus.start();
    const auto gnome = makeGnome();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
}

TEST_F(InhibitProgramTest, InputThatIsAlreadyAtItsEndTellsWhatCouldBeHeldAndHoldsNothing) {
    startLogind();
    for (const auto input : {SpawnedProgram::Input::nullDevice, SpawnedProgram::Input::closed}) {
        startInhibit({"-i"}, input);
        EXPECT_EQ(waitForExit(), 0);
        EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
        EXPECT_EQ(logind->heldLocks(), 0U);
    }
}

TEST_F(InhibitProgramTest, APipeThatEndsBeforeLogindAnsweredLeavesTheFailureVisible) {
    startLogind().stayAvailableButSilent();
    startInhibit().closeInput();
    EXPECT_EQ(waitForExit(), 69);
}

TEST_F(InhibitProgramTest, AClosedOutputDoesNotMakeItLetGo) {
    startHolding();
    program->closeOutput();
    sessionBus.start();
    ScriptedBusService gnome(pump, sessionBus.address());
    gnome.answer("Inhibit", ScriptedBusService::withCookie(1));
    for (auto round = 1U; round <= 3; ++round) {
        gnome.own("org.gnome.SessionManager");
        ASSERT_TRUE(pump.until([&] { return gnome.calls().size() == round; }));
        gnome.disown("org.gnome.SessionManager");
    }
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
}

TEST_F(InhibitProgramTest, AnOutputThatNobodyReadsDoesNotStopIt) {
    sessionBus.start();
    ScriptedBusService gnome(pump, sessionBus.address());
    gnome.answer("Inhibit", ScriptedBusService::withCookie(1));
    startLogind();
    startInhibit({"-i"}, SpawnedProgram::Input::pipe, true);
    for (auto round = 1U; round <= 3; ++round) {
        gnome.own("org.gnome.SessionManager");
        ASSERT_TRUE(pump.until([&] { return gnome.calls().size() == round; }));
        gnome.disown("org.gnome.SessionManager");
    }
    expectReleaseAtEndOfInput();
    EXPECT_EQ(program->lines().at(0), "logind held idle");
}

TEST_F(InhibitProgramTest, AKilledParentLeavesNoLockBehind) {
    startLogind();
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const auto input = (systemBus.folder() / "input").string();
    // The shell alone holds the writing end: it opens it after it started the program.
    const auto script = "mkfifo " + input + " && { " TAVO_INHIBIT_PROGRAM " -i <" + input + " & } && exec 9>" + input +
                        " && echo child $! && wait";
    program.emplace("/bin/sh", SpawnedProgram::Options{{"-c", script}, environment()});
    ASSERT_TRUE(waitForLine("logind held idle"));
    ASSERT_TRUE(pump.until([this] { return program->lines().size() == 2; }));
    pid_t child = 0;
    for (const auto& line : program->lines()) {
        child = line.starts_with("child ") ? std::stoi(line.substr(6)) : child;
    }
    ASSERT_GT(child, 0);
    ASSERT_EQ(logind->heldLocks(), 1U);

    program->signal(SIGKILL);

    EXPECT_EQ(waitForExit(), 128 + SIGKILL);
    EXPECT_TRUE(pump.until([this] { return logind->heldLocks() == 0; }));
    auto status = -1;
    EXPECT_TRUE(pump.until([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(InhibitProgramTest, NothingButAnEventWakesItOnceItHolds) {
    sessionBus.start();
    const auto gnome = makeGnome();
    startHolding();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    if (!timedWakeUps()) {
        GTEST_SKIP() << "this kernel does not show what a process waits in (/proc/PID/syscall)";
    }
    EXPECT_TRUE(pump.until([this] { return timedWakeUps() == ""; })) << timedWakeUps().value_or("");
}

TEST_F(InhibitProgramTest, NothingButAnEventWakesItWithoutASessionBus) {
    startHolding();
    if (!timedWakeUps()) {
        GTEST_SKIP() << "this kernel does not show what a process waits in (/proc/PID/syscall)";
    }
    EXPECT_TRUE(pump.until([this] { return timedWakeUps() == ""; })) << timedWakeUps().value_or("");
}

TEST_F(InhibitProgramTest, NothingButAnEventWakesItOnceItGaveUpOnADeadSocket) {
    sessionBus.start();
    sessionBus.stop(SIGKILL);
    ASSERT_TRUE(std::filesystem::exists(sessionBus.socket()));
    startHolding();
    if (!timedWakeUps()) {
        GTEST_SKIP() << "this kernel does not show what a process waits in (/proc/PID/syscall)";
    }
    EXPECT_TRUE(pump.until([this] { return timedWakeUps() == ""; })) << timedWakeUps().value_or("");
}

TEST_F(InhibitProgramTest, WrongUsageIsExplainedOnStandardError) {
    startInhibit({"-s"});
    EXPECT_EQ(waitForExit(), 64);
    EXPECT_EQ(program->outputSoFar(), "");
    EXPECT_EQ(program->errorsSoFar(), "-s adds to -i and does not stand alone; try tavo-inhibit --help\n");
}

TEST_F(InhibitProgramTest, HelpAndVersionNeedNoBus) {
    systemBus.stop(SIGTERM);
    startInhibit({"--version"});
    EXPECT_EQ(waitForExit(), 0);
    EXPECT_THAT(program->outputSoFar(), ::testing::MatchesRegex("tavo-inhibit [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    startInhibit({"--help"});
    EXPECT_EQ(waitForExit(), 0);
    EXPECT_THAT(program->outputSoFar(), HasSubstr("tavo-inhibit -i [-s]"));
}

} // namespace
} // namespace tavo
