#include "system/InterruptibleCommandRunner.h"

#include "Support/StandInPrompt.h"
#include "Support/WaitUntil.h"

#include <gtest/gtest.h>

#include <csignal>
#include <system_error>
#include <thread>

namespace tavo {
namespace {

class InterruptibleCommandRunnerTest : public testing::Test {
protected:
    ShellCommandResult run(std::vector<std::string> arguments) {
        return runner.run({.executableURL = TAVO_TEST_CHILD, .arguments = std::move(arguments)});
    }

    /// Runs `prepared` and a script that writes its process id down, and interrupts it then. Returns the process id.
    pid_t interruptScript(const std::string& script, const std::string& prepared = ":") {
        const auto note = folder.path() / "note";
        std::thread other([&] {
            waitUntil([&] { return fileContent(note).ends_with('\n'); });
            interruption->interrupt();
        });
        EXPECT_THROW(runner.run({.executableURL = "/bin/sh",
                                 .arguments = {"-c", prepared + "; echo $$ > '" + note.string() + "'; " + script}}),
                     Interrupted);
        other.join();
        return static_cast<pid_t>(std::stol(fileContent(note)));
    }

    TemporaryDirectory folder;
    std::shared_ptr<Interruption> interruption = std::make_shared<Interruption>();
    InterruptibleCommandRunner runner{interruption};
};

TEST_F(InterruptibleCommandRunnerTest, GivesStatusAndBothStreams) {
    EXPECT_EQ(run({"exit", "3"}).exitCode, 3);
    EXPECT_EQ(run({"die", "9"}).exitCode, 9);
    EXPECT_EQ(run({"print", "  hello\n\n"}).standardOutput, "hello");
    const auto flooded = run({"flood", "3000000"});
    EXPECT_EQ(flooded.standardOutput, std::string(3000000, 'x'));
    EXPECT_EQ(flooded.standardError, std::string(3000000, 'x'));
}

TEST_F(InterruptibleCommandRunnerTest, AMissingProgramIsAnError) {
    EXPECT_THROW(runner.run({.executableURL = "/missing/program", .arguments = {}}), std::system_error);
}

TEST_F(InterruptibleCommandRunnerTest, AChildThatClosesItsStreamsAndRunsOnIsWaitedFor) {
    const auto result = runner.run(
        {.executableURL = "/bin/sh", .arguments = {"-c", "exec >&- 2>&-; '" TAVO_TEST_CHILD "' exit 0; exit 7"}});
    EXPECT_EQ(result.exitCode, 7);
}

TEST_F(InterruptibleCommandRunnerTest, AnInterruptedChildHasEnded) {
    const auto child = interruptScript("exec '" TAVO_TEST_CHILD "' wait");
    EXPECT_TRUE(waitUntil([&] { return kill(child, 0) != 0; }));
}

TEST_F(InterruptibleCommandRunnerTest, AChildThatDoesNotEndIsLeftBehind) {
    const auto child = interruptScript("while :; do '" TAVO_TEST_CHILD "' exit 0; done", "trap '' TERM");
    EXPECT_EQ(kill(child, 0), 0);
    kill(child, SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return kill(child, 0) != 0; })) << "it is reaped all the same";
}

TEST_F(InterruptibleCommandRunnerTest, NothingIsRunAfterwards) {
    interruption->interrupt();
    EXPECT_THROW(run({"exit", "0"}), Interrupted);
    EXPECT_THROW(runner.run({.executableURL = "/missing/program", .arguments = {}}), Interrupted);
}

TEST(Interruption, ASleepLastsAsLongAsItShould) {
    const Interruption interruption;
    const auto before = std::chrono::steady_clock::now();
    interruption.sleep(std::chrono::milliseconds{20});
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds{20});
    EXPECT_FALSE(interruption.isInterrupted());
}

TEST(Interruption, EndsASleepThatHasBegun) {
    Interruption interruption;
    std::thread other([&] { interruption.interrupt(); });
    EXPECT_THROW(interruption.sleep(std::chrono::hours{1}), Interrupted);
    other.join();
}

TEST(Interruption, IsForGoodAndMayBeCalledForAnyNumberOfTimes) {
    Interruption interruption;
    for (int time = 0; time < 100000; ++time) {
        interruption.interrupt();
    }
    EXPECT_TRUE(interruption.isInterrupted());
    EXPECT_THROW(interruption.sleep(std::chrono::microseconds{0}), Interrupted);
    EXPECT_THROW(interruption.sleep(std::chrono::hours{1}), Interrupted);
}

} // namespace
} // namespace tavo
