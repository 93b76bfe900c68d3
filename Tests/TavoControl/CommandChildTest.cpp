#include "TavoControl/CommandChild.h"

#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace tavo {
namespace {

using Change = CommandChild::Change;

class CommandChildTest : public testing::Test {
protected:
    /// Runs a shell script under the conditions of this process.
    CommandChild shell(const std::string& script) const { return CommandChild({"/bin/sh", "-c", script}, conditions); }

    static CommandChild::Event next(CommandChild& child) {
        std::optional<CommandChild::Event> event;
        EXPECT_TRUE(waitUntil([&] { return (event = child.nextEvent()).has_value(); }));
        return event.value_or(CommandChild::Event{});
    }

    static int exitStatus(CommandChild child) {
        const auto event = next(child);
        EXPECT_EQ(event.change, Change::exited);
        return event.status;
    }

    int errorOf(const std::vector<std::string>& words) const {
        try {
            CommandChild child(words, conditions);
            exitStatus(child);
            return 0;
        } catch (const std::system_error& error) {
            return error.code().value();
        }
    }

    std::filesystem::path file(const std::string& name, const std::string& content, mode_t mode) const {
        const auto path = folder.write(name, content);
        chmod(path.c_str(), mode);
        return path;
    }

    TemporaryDirectory folder;
    InheritedConditions conditions = InheritedConditions::capture();
};

TEST_F(CommandChildTest, GivesTheExitStatusAsAShellHasIt) {
    EXPECT_EQ(exitStatus(shell("exit 0")), 0);
    EXPECT_EQ(exitStatus(shell("exit 7")), 7);
    EXPECT_EQ(exitStatus(shell("exit 255")), 255);
    EXPECT_EQ(exitStatus(shell("kill -KILL $$")), 128 + SIGKILL);
    EXPECT_EQ(exitStatus(shell("kill -TERM $$")), 128 + SIGTERM);
}

TEST_F(CommandChildTest, TellsOfStopContinuationAndExitInTurn) {
    const auto gate = folder.path() / "gate";
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    // Without the gate it could exit before anybody asks, and of two changes the system keeps the last one.
    auto child = shell("kill -STOP $$; read -r line <'" + gate.string() + "'; exit 3");
    const auto stopped = next(child);
    EXPECT_EQ(stopped.change, Change::stopped);
    EXPECT_EQ(stopped.status, SIGSTOP);
    EXPECT_FALSE(child.nextEvent());
    child.signal(SIGCONT);
    EXPECT_EQ(next(child).change, Change::continued);
    std::ofstream(gate) << "go\n";
    const auto exited = next(child);
    EXPECT_EQ(exited.change, Change::exited);
    EXPECT_EQ(exited.status, 3);
    EXPECT_FALSE(child.nextEvent());
    child.signal(SIGKILL); // and nobody else gets it
}

TEST_F(CommandChildTest, ACommandThatIsNotThereOrCannotBeRunIsAnError) {
    EXPECT_EQ(errorOf({"tavo-no-such-command"}), ENOENT);
    EXPECT_EQ(errorOf({(folder.path() / "missing").string()}), ENOENT);
    EXPECT_EQ(errorOf({file("plain", "echo", 0644).string()}), EACCES);
    EXPECT_EQ(errorOf({folder.path().string()}), EACCES);
    EXPECT_EQ(errorOf({file("broken", "#!/missing/interpreter\n", 0755).string()}), ENOENT);
}

TEST_F(CommandChildTest, AScriptWithoutAnInterpreterIsRunByTheShell) {
    const auto script = file("script", "exit \"$1\"\n", 0755);
    EXPECT_EQ(exitStatus(CommandChild({script.string(), "9"}, conditions)), 9);
}

TEST_F(CommandChildTest, AScriptWithoutAnInterpreterIsFoundInPath) {
    file("tavo-test-script", "exit 8\n", 0755);
    const std::string path = getenv("PATH");
    setenv("PATH", ("/missing:" + folder.path().string() + ":" + path).c_str(), 1);
    EXPECT_EQ(exitStatus(CommandChild({"tavo-test-script"}, conditions)), 8);
    setenv("PATH", path.c_str(), 1);
}

TEST_F(CommandChildTest, ItsEnvironmentIsTheOneThatWasCaptured) {
    setenv("TAVO_TEST_CHANGED_SINCE", "1", 1);
    EXPECT_EQ(exitStatus(shell("test -z \"${TAVO_TEST_CHANGED_SINCE+set}\"")), 0);
    unsetenv("TAVO_TEST_CHANGED_SINCE");
    conditions.environment = {"ONLY=this"};
    EXPECT_EQ(exitStatus(shell("test \"$ONLY\" = this")), 0);
}

TEST_F(CommandChildTest, SignalsAreIgnoredThereOnlyWhenTheyWereAtTheStart) {
    const auto endsByPipe = [this] { return exitStatus(shell("kill -PIPE $$; exit 1")); };
    auto* const before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(endsByPipe(), 128 + SIGPIPE);
    conditions = InheritedConditions::capture();
    EXPECT_TRUE(conditions.isIgnored(SIGPIPE));
    EXPECT_EQ(endsByPipe(), 1);
    std::signal(SIGPIPE, before);
}

TEST_F(CommandChildTest, ItSharesTheProcessGroupAndThePassedDescriptors) {
    const auto note = folder.path() / "note";
    const int passed = open(note.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_EQ(dup2(passed, 9), 9);
    close(passed);
    EXPECT_EQ(exitStatus(shell("ps -o pgid= -p $$ >&9")), 0);
    close(9);
    EXPECT_EQ(std::stol(fileContent(note)), getpgrp());
}

TEST_F(CommandChildTest, AStreamThatWasClosedAtTheStartIsClosedThere) {
    conditions.isStreamClosed[0] = true;
    EXPECT_EQ(exitStatus(shell("test ! -e /dev/fd/0")), 0);
}

TEST(CommandStatus, OfACommandThatCouldNotBeStartedIsTheShells) {
    EXPECT_EQ(statusOfUnstartable(ENOENT), 127);
    EXPECT_EQ(statusOfUnstartable(ENOTDIR), 127);
    EXPECT_EQ(statusOfUnstartable(EACCES), 126);
    EXPECT_EQ(statusOfUnstartable(E2BIG), 126);
}

} // namespace
} // namespace tavo
