#include "system/SystemCommandRunner.h"

#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace tavo {
namespace {

ShellCommand testChild(std::vector<std::string> arguments) {
    return {.executableURL = TAVO_TEST_CHILD, .arguments = std::move(arguments)};
}

/// Whether this process still has the child, running or as a zombie.
bool isChild(pid_t pid) {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// Waits until the handle has announced its child's end.
bool isEndTold(RunningCommand& child) {
    const auto ended = std::make_shared<std::promise<void>>();
    child.onEnd([ended] { ended->set_value(); });
    return ended->get_future().wait_for(std::chrono::seconds{20}) == std::future_status::ready;
}

class SystemCommandRunnerTest : public testing::Test {
protected:
    SystemCommandRunner runner;

    std::shared_ptr<ProcessRunningCommand> start(std::vector<std::string> arguments) {
        return std::dynamic_pointer_cast<ProcessRunningCommand>(runner.start(testChild(std::move(arguments))));
    }
};

TEST_F(SystemCommandRunnerTest, MegabytesOnBothStreamsComeBackWhole) {
    constexpr std::size_t bytes = 5000000;
    const auto result = runner.run(testChild({"flood", std::to_string(bytes)}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, std::string(bytes, 'x'));
    EXPECT_EQ(result.standardError, std::string(bytes, 'x'));
}

TEST_F(SystemCommandRunnerTest, OutputIsTrimmed) {
    EXPECT_EQ(runner.run(testChild({"print", "  hello\n\n"})).standardOutput, "hello");
    EXPECT_EQ(runner.run(testChild({"print", " \n\t\u2003 \n"})).standardOutput, "");
}

TEST_F(SystemCommandRunnerTest, MalformedOutputIsReplaced) {
    EXPECT_EQ(runner.run(testChild({"print", "a\xFFz"})).standardOutput, "a\uFFFDz");
}

TEST_F(SystemCommandRunnerTest, ArgumentsArriveAsTheyStand) {
    EXPECT_EQ(runner.run(testChild({"arguments", "a b", "", "$HOME", "'\"`", "é\n"})).standardOutput,
              "[a b][][$HOME]['\"`][é\n]");
}

TEST_F(SystemCommandRunnerTest, ANonZeroStatusIsAResult) {
    const auto result = runner.run(testChild({"exit", "3"}));
    EXPECT_EQ(result, (ShellCommandResult{.exitCode = 3}));
}

TEST_F(SystemCommandRunnerTest, AChildEndedByASignalIsAResult) {
    EXPECT_EQ(runner.run(testChild({"die", std::to_string(SIGKILL)})).exitCode, SIGKILL);
}

TEST_F(SystemCommandRunnerTest, APathThatDoesNotExistThrowsTheSystemsError) {
    const ShellCommand command{.executableURL = "/nonexistent/program"};
    for (const bool isRun : {true, false}) {
        try {
            isRun ? static_cast<void>(runner.run(command)) : static_cast<void>(runner.start(command));
            FAIL() << "a program that does not exist ran";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
            EXPECT_NE(std::string(error.what()).find("/nonexistent/program"), std::string::npos);
        }
    }
}

TEST_F(SystemCommandRunnerTest, AFileThatIsNoProgramThrowsTheSystemsError) {
    const TemporaryDirectory folder;
    const ShellCommand command{.executableURL = folder.write("file", "text")};
    EXPECT_THROW(runner.run(command), std::system_error);
    EXPECT_THROW(runner.start(command), std::system_error);
}

TEST_F(SystemCommandRunnerTest, AChildHasTheThreeStandardDescriptorsAndNoOther) {
    // One that closes on exec and one that does not, beside those of the test program.
    const FileDescriptor closing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const FileDescriptor leaking(open("/dev/null", O_RDONLY));
    const auto held = start({"wait"});
    EXPECT_EQ(runner.run(testChild({"descriptors"})).standardOutput, "0 1 2");
    held->stop();
}

TEST_F(SystemCommandRunnerTest, AChildStartsWithACleanSignalMask) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR1);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    const auto handlerBefore = std::signal(SIGPIPE, SIG_IGN);
    const auto result = runner.run(testChild({"signals"}));
    std::signal(SIGPIPE, handlerBefore);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(result.standardOutput, "pipe-default");
}

TEST_F(SystemCommandRunnerTest, AChildLeadsAProcessGroupOfItsOwnWhereTheCommandSaysSo) {
    auto command = testChild({"wait"});
    for (const bool isOwn : {false, true}) {
        command.startsOwnProcessGroup = isOwn;
        const ProcessRunningCommand child(spawnChild(command, ChildInput::inherited));
        EXPECT_EQ(getpgid(child.pid()), isOwn ? child.pid() : getpgrp());
        kill(child.pid(), SIGKILL);
    }
}

TEST_F(SystemCommandRunnerTest, AStartedChildIsOutOfReachOfTheTerminalsSignals) {
    const auto child = start({"wait"});
    EXPECT_EQ(getpgid(child->pid()), child->pid());
    child->stop();
}

TEST_F(SystemCommandRunnerTest, AStartedChildRunsUntilItIsStopped) {
    const auto child = start({"wait"});
    EXPECT_TRUE(child->isRunning());
    child->stop();
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

TEST_F(SystemCommandRunnerTest, AChildThatDiedIsNoticed) {
    const auto child = start({"wait"});
    kill(child->pid(), SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

TEST_F(SystemCommandRunnerTest, StoppingAChildThatHasEndedDoesNothing) {
    const auto child = start({"exit", "0"});
    ASSERT_TRUE(waitUntil([&] { return !child->isRunning(); }));
    EXPECT_NO_THROW(child->stop());
    ASSERT_TRUE(waitUntil([&] { return !isChild(child->pid()); }));
    EXPECT_NO_THROW(child->stop());
    EXPECT_FALSE(child->isRunning());
}

TEST_F(SystemCommandRunnerTest, NoZombieIsLeftWhenAChildEnds) {
    const auto child = start({"exit", "0"});
    EXPECT_TRUE(waitUntil([&] { return !isChild(child->pid()); }));
}

TEST_F(SystemCommandRunnerTest, ADroppedHandleLeavesTheChildRunningAndNoZombieAfterIt) {
    auto child = start({"wait"});
    const auto pid = child->pid();
    child.reset();
    EXPECT_TRUE(isChild(pid));
    kill(pid, SIGTERM);
    EXPECT_TRUE(waitUntil([&] { return !isChild(pid); }));
}

TEST_F(SystemCommandRunnerTest, HandlesAreSafeFromManyThreads) {
    for (int round = 0; round < 20; ++round) {
        const auto child = start({"wait"});
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&child, index] {
                if (index % 2 == 0) {
                    child->stop();
                }
                EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
                child->stop();
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        EXPECT_TRUE(waitUntil([&] { return !isChild(child->pid()); }));
    }
}

TEST_F(SystemCommandRunnerTest, TheEndOfAChildIsToldOnceHoweverItEnds) {
    for (const bool isStopped : {true, false}) {
        const auto child = start({"wait"});
        const auto wasRunning = std::make_shared<std::promise<bool>>();
        child->onEnd([wasRunning, child] { wasRunning->set_value(child->isRunning()); });
        if (isStopped) {
            child->stop();
        } else {
            kill(child->pid(), SIGKILL);
        }
        auto wasRunningAtEnd = wasRunning->get_future();
        ASSERT_EQ(wasRunningAtEnd.wait_for(std::chrono::seconds{20}), std::future_status::ready);
        EXPECT_FALSE(wasRunningAtEnd.get());
    }
}

TEST_F(SystemCommandRunnerTest, TheEndOfAChildThatHasEndedIsToldAtOnce) {
    const auto child = start({"exit", "0"});
    ASSERT_TRUE(isEndTold(*child));
    bool isNotified = false;
    child->onEnd([&] { isNotified = true; });
    EXPECT_TRUE(isNotified);
}

TEST_F(SystemCommandRunnerTest, TheEndIsToldAlsoWhenTheHandleIsGone) {
    auto child = start({"wait"});
    const auto pid = child->pid();
    const auto ended = std::make_shared<std::promise<void>>();
    child->onEnd([ended] { ended->set_value(); });
    child.reset();
    kill(pid, SIGTERM);
    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds{20}), std::future_status::ready);
}

TEST_F(SystemCommandRunnerTest, RunLeavesNoDescriptorOpen) {
    const auto lowestFree = [] { return FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).get(); };
    const int before = lowestFree();
    for (int round = 0; round < 10; ++round) {
        runner.run(testChild({"exit", "0"}));
        EXPECT_THROW(runner.run({.executableURL = "/nonexistent"}), std::system_error);
    }
    EXPECT_EQ(lowestFree(), before);
}

/// Starts real threads until there are `most` of them, and fails then as the system does.
SystemCommandRunner::ThreadStarter atMost(int most, const std::function<void()>& beforeFailing) {
    return [left = most, beforeFailing](std::function<void()> work) mutable {
        if (left-- > 0) {
            startDetachedThread(std::move(work));
            return;
        }
        beforeFailing();
        throw std::system_error(EAGAIN, std::generic_category());
    };
}

TEST_F(SystemCommandRunnerTest, AChildWhoseReadersCannotBothStartIsEndedAndItsOrphansAreNotWaitedFor) {
    for (const int readers : {0, 1}) {
        SCOPED_TRACE(readers);
        const TemporaryDirectory folder;
        const auto note = folder.path() / "note";
        // The orphan keeps both pipes open for as long as it lives.
        const ShellCommand command{.executableURL = "/bin/sh",
                                   .arguments = {"-c", "sleep 600 & echo $$ $! > '" + note.string() + "'; wait"}};
        pid_t child = -1;
        pid_t orphan = -1;
        SystemCommandRunner starved(false, atMost(readers, [&] {
                                        EXPECT_TRUE(waitUntil([&] {
                                            std::ifstream(note) >> child >> orphan;
                                            return orphan > 0;
                                        }));
                                    }));
        EXPECT_THROW(starved.run(command), std::system_error);
        EXPECT_FALSE(isChild(child));
        ASSERT_GT(orphan, 0);
        EXPECT_EQ(kill(orphan, SIGKILL), 0);
    }
}

TEST_F(SystemCommandRunnerTest, AParentWithoutStandardStreamsGetsItsOutputAllTheSame) {
    const auto child = fork();
    if (child == 0) {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        const auto result = SystemCommandRunner().run(testChild({"flood", "100000"}));
        const std::string expected(100000, 'x');
        _exit(result.standardOutput == expected && result.standardError == expected ? 0 : 1);
    }
    EXPECT_EQ(waitForExit(child), 0);
}

TEST(SystemCommandRunner, PrivilegeIsTheEffectiveUsers) {
    EXPECT_EQ(SystemCommandRunner::defaultSupportsPrivilegedCommands(), geteuid() == 0);
    EXPECT_TRUE(SystemCommandRunner(true).supportsPrivilegedCommands());
    EXPECT_FALSE(SystemCommandRunner(false).supportsPrivilegedCommands());
}

TEST(SystemCommandRunner, AnOrdinaryUserHasNoPrivilege) {
    if (geteuid() != 0) {
        EXPECT_FALSE(SystemCommandRunner::defaultSupportsPrivilegedCommands());
        return;
    }
    const auto child = fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        _exit(setuid(nobody) == 0 && !SystemCommandRunner::defaultSupportsPrivilegedCommands() ? 0 : 1);
    }
    EXPECT_EQ(waitForExit(child), 0);
}

} // namespace
} // namespace tavo
