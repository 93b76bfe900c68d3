#include "runtime/linux/InhibitorCommandRunner.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <future>
#include <system_error>

namespace tavo {
namespace {

using testing::HasSubstr;

/// A shell script instead of tavo-inhibit.
class InhibitorCommandRunnerTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::shared_ptr<ScriptedCommandRunner> inner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<AssertionStatus> assertionStatus = std::make_shared<AssertionStatus>();

    static ShellCommand script(const std::string& text) {
        return {.executableURL = "/bin/sh", .arguments = {"-c", text}};
    }

    std::shared_ptr<RunningCommand> start(const std::string& text,
                                          std::chrono::milliseconds bound = std::chrono::seconds{20}) {
        return InhibitorCommandRunner(inner, assertionStatus, bound).start(script(text));
    }

    WakeControlError failureOf(const std::string& text, std::chrono::milliseconds bound = std::chrono::seconds{20}) {
        try {
            start(text, bound);
        } catch (const WakeControlError& error) {
            return error;
        }
        ADD_FAILURE() << "started: " << text;
        return WakeControlError::commandFailed("");
    }

    bool isSummary(const std::string& expected) const {
        return waitUntil([&] { return assertionStatus->summary() == expected; });
    }
};

TEST_F(InhibitorCommandRunnerTest, ItReturnsWhenTheChildHasSaidWhatItHolds) {
    const auto child = start("echo logind held idle:sleep; read -r end");
    EXPECT_TRUE(child->isRunning());
    EXPECT_EQ(assertionStatus->summary(), "idle:sleep (logind)");
    child->stop();
    EXPECT_EQ(assertionStatus->summary(), "");
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

TEST_F(InhibitorCommandRunnerTest, TheChildsLaterLinesArePosted) {
    const auto go = folder.path() / "go";
    const auto child = start("echo logind held idle; until [ -e '" + go.string() +
                             "' ]; do :; done; echo gnome held suspend; echo not a report; read -r end");
    folder.write("go", "");
    EXPECT_TRUE(isSummary("idle (logind), suspend (gnome)"));
    child->stop();
}

TEST_F(InhibitorCommandRunnerTest, TheChildReadsAPipeThatEndsWithTheHandle) {
    const auto marker = folder.path() / "ended";
    auto child = start("echo logind held idle; read -r end; touch '" + marker.string() + "'");
    child.reset();
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(marker); }));
}

TEST_F(InhibitorCommandRunnerTest, AChildThatEndsUnaskedLeavesTheBoardEmpty) {
    const auto child = start("echo logind held idle");
    EXPECT_TRUE(isSummary(""));
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

TEST_F(InhibitorCommandRunnerTest, TheEndOfTheChildIsTold) {
    const auto child = start("echo logind held idle; read -r end");
    const auto ended = std::make_shared<std::promise<void>>();
    child->onEnd([ended] { ended->set_value(); });
    child->stop();
    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds{20}), std::future_status::ready);
}

TEST_F(InhibitorCommandRunnerTest, ARefusedLockIsThrownInTheChildsOwnWords) {
    EXPECT_EQ(failureOf("echo 'logind said no' >&2; exit 69"), WakeControlError::systemUnavailable("logind said no"));
    EXPECT_EQ(assertionStatus->summary(), "");
}

TEST_F(InhibitorCommandRunnerTest, AnyOtherEndIsAFailedCommand) {
    EXPECT_EQ(failureOf("echo 'internal trouble' >&2; exit 70"), WakeControlError::commandFailed("internal trouble"));
    EXPECT_EQ(failureOf("exit 3"), WakeControlError::commandFailed(
                                       "the program that holds off sleep ended with status 3 and without a word."));
}

TEST_F(InhibitorCommandRunnerTest, AChildThatSaysNothingInTimeIsEnded) {
    const auto error = failureOf("exec sleep 600", std::chrono::milliseconds{200});
    EXPECT_EQ(error.kind(), WakeControlError::Kind::systemUnavailable);
    EXPECT_THAT(error.description(), HasSubstr("did not say within 0.2 seconds"));
    const auto words = error.description();
    const std::string before = "(process id ";
    ASSERT_THAT(words, HasSubstr(before));
    const auto pid = std::stoi(words.substr(words.find(before) + before.size()));
    EXPECT_TRUE(waitUntil([&] { return kill(pid, 0) != 0; })) << "that its input is closed does not end it";
    EXPECT_EQ(assertionStatus->summary(), "");
}

TEST_F(InhibitorCommandRunnerTest, AChildThatWritesAndWritesWithoutSayingItIsEndedInTime) {
    for (const auto* flood : {"exec cat /dev/zero", "exec cat /dev/zero >&2", "while :; do echo; done >&2"}) {
        EXPECT_THAT(failureOf(flood, std::chrono::milliseconds{200}).description(), HasSubstr("did not say within 0.2"))
            << flood;
    }
}

TEST_F(InhibitorCommandRunnerTest, AFloodInBetweenHidesNoReport) {
    const auto handle = start("echo logind held idle; head -c 1000000 /dev/zero; echo; echo logind held idle:sleep; "
                              "exec sleep 1000");
    EXPECT_TRUE(isSummary("idle:sleep (logind)"));
    handle->stop();
}

TEST_F(InhibitorCommandRunnerTest, AFirstLineThatIsNoHeldLockIsNoSuccess) {
    EXPECT_EQ(failureOf("echo hello; echo 'what is this' >&2").kind(), WakeControlError::Kind::commandFailed);
    EXPECT_EQ(failureOf("echo logind refused idle").kind(), WakeControlError::Kind::commandFailed);
    EXPECT_EQ(assertionStatus->summary(), "");
}

TEST_F(InhibitorCommandRunnerTest, AFloodOfWordsIsReadToItsEndAndCut) {
    const auto error = failureOf("head -c 1000000 /dev/zero | tr '\\0' x >&2; exit 70");
    EXPECT_EQ(error.kind(), WakeControlError::Kind::commandFailed);
    EXPECT_GE(error.description().size(), 65536U);
    EXPECT_LT(error.description().size(), 65536U + 4096U);
}

TEST_F(InhibitorCommandRunnerTest, AnUnfinishedFirstLineIsNoSuccess) {
    EXPECT_EQ(failureOf("printf 'logind held idle'").kind(), WakeControlError::Kind::commandFailed);
}

TEST_F(InhibitorCommandRunnerTest, AMissingProgramThrowsTheSystemsError) {
    InhibitorCommandRunner runner(inner, assertionStatus);
    EXPECT_THROW(runner.start({.executableURL = "/nonexistent/tavo-inhibit"}), std::system_error);
}

TEST_F(InhibitorCommandRunnerTest, ANewChildTakesTheBoardOver) {
    const auto first = start("echo logind held idle:sleep; read -r end");
    const auto second = start("echo logind held idle; read -r end");
    EXPECT_EQ(assertionStatus->summary(), "idle (logind)");
    first->stop();
    EXPECT_TRUE(waitUntil([&] { return !first->isRunning(); }));
    EXPECT_EQ(assertionStatus->summary(), "idle (logind)");
    second->stop();
}

TEST_F(InhibitorCommandRunnerTest, OtherCommandsGoToTheOrdinaryRunner) {
    inner->results = {{.exitCode = 4}};
    InhibitorCommandRunner runner(inner, assertionStatus);
    EXPECT_EQ(runner.run({.executableURL = "/bin/true"}).exitCode, 4);
    EXPECT_EQ(runner.supportsPrivilegedCommands(), inner->supportsPrivilegedCommands());
}

} // namespace
} // namespace tavo
