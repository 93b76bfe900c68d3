#include "helper/linux/PolkitCommandRunner.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "base/WakeControlError.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uid_t user = 1000;

class PolkitRunner : public testing::Test {
protected:
    PolkitCommandRunner runnerFor(uid_t uid) {
        return PolkitCommandRunner(system, uid, [this] { return pkexec; });
    }

    const ShellCommand privileged{
        .executableURL = "/bin/sh", .arguments = {"-c", "echo a b"}, .requiresPrivilege = true};
    std::optional<std::filesystem::path> pkexec = "/usr/bin/pkexec";
    std::shared_ptr<ScriptedCommandRunner> system = std::make_shared<ScriptedCommandRunner>();
};

TEST_F(PolkitRunner, AsksPkexecForWhatRequiresPrivilege) {
    system->results = {{.exitCode = 3, .standardOutput = "out", .standardError = "err"}};
    EXPECT_EQ(runnerFor(user).run(privileged),
              (ShellCommandResult{.exitCode = 3, .standardOutput = "out", .standardError = "err"}));
    ASSERT_EQ(system->commands.size(), 1U);
    EXPECT_EQ(system->commands[0].executableURL, "/usr/bin/pkexec");
    EXPECT_THAT(system->commands[0].arguments, ElementsAre("/bin/sh", "-c", "echo a b"));
    EXPECT_FALSE(system->commands[0].requiresPrivilege);
}

TEST_F(PolkitRunner, StaysInTheCallersProcessGroupWhereItMayAskOnTheTerminal) {
    auto command = privileged;
    command.startsOwnProcessGroup = true;
    runnerFor(user).run(command);
    runnerFor(user).start(command);
    ASSERT_EQ(system->commands.size(), 2U);
    EXPECT_FALSE(system->commands[0].startsOwnProcessGroup);
    EXPECT_FALSE(system->commands[1].startsOwnProcessGroup);
}

TEST_F(PolkitRunner, WhatRequiresNoPrivilegeRunsAsItIs) {
    const ShellCommand plain{.executableURL = "/bin/true", .startsOwnProcessGroup = true};
    runnerFor(user).run(plain);
    runnerFor(user).start(plain);
    EXPECT_THAT(system->commands, ElementsAre(plain, plain));
}

TEST_F(PolkitRunner, RootNeedsNoApproval) {
    pkexec.reset();
    runnerFor(0).run(privileged);
    EXPECT_THAT(system->commands, ElementsAre(privileged));
}

TEST_F(PolkitRunner, WithoutPkexecTheErrorSaysWhatToDo) {
    pkexec.reset();
    for (const bool starts : {false, true}) {
        try {
            auto runner = runnerFor(user);
            starts ? void(runner.start(privileged)) : void(runner.run(privileged));
            FAIL() << "nothing was thrown";
        } catch (const WakeControlError& error) {
            EXPECT_EQ(error, WakeControlError::systemUnavailable(
                                 "this needs an administrator's approval, and pkexec, which asks for it, is not "
                                 "installed; install it (polkit), or run it as root, as with sudo tavoctl helper "
                                 "install."));
        }
    }
    EXPECT_TRUE(system->commands.empty());
}

TEST_F(PolkitRunner, ADismissedDialogIsSaidInASentence) {
    system->results = {
        {.exitCode = 126, .standardError = "Error executing command as another user: Request dismissed"}};
    const auto result = runnerFor(user).run(privileged);
    EXPECT_EQ(result.exitCode, 126);
    EXPECT_EQ(result.standardError, "the administrator's approval was not given; nothing was changed.");
}

TEST_F(PolkitRunner, WhenNobodyCanBeAskedPkexecsWordsAreThere) {
    system->results = {{.exitCode = 127,
                        .standardError = "Error executing command as another user: No authentication agent found.\n"
                                         "\nThis incident has been reported."}};
    const auto result = runnerFor(user).run(privileged);
    EXPECT_EQ(result.standardError,
              "nobody could be asked for an administrator's approval, or it was refused (pkexec says: Error executing "
              "command as another user: No authentication agent found.); nothing was changed. ask again from a desktop "
              "or a terminal, or as root, as with sudo tavoctl helper install.");
}

TEST_F(PolkitRunner, WithoutWordsOfPkexecNoneAreQuoted) {
    system->results = {{.exitCode = 127}};
    EXPECT_THAT(runnerFor(user).run(privileged).standardError, HasSubstr("or it was refused; nothing was changed."));
}

TEST_F(PolkitRunner, ItsOwnWordsAreNotPutInTheMouthOfRootsCommand) {
    system->results = {{.exitCode = 127, .standardError = "sh: no such command"}};
    EXPECT_EQ(runnerFor(0).run(privileged).standardError, "sh: no such command");
}

TEST_F(PolkitRunner, FindsPkexecInTheSearchPath) {
    const TemporaryDirectory folder;
    const auto program = folder.write("pkexec", "#!/bin/sh\nprintf '%s|' \"$@\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const std::string before = std::getenv("PATH");
    setenv("PATH", ("relative::" + folder.path().string() + ":" + before).c_str(), 1);
    PolkitCommandRunner runner(std::make_shared<SystemCommandRunner>(), user);
    const auto result = runner.run(privileged);
    setenv("PATH", before.c_str(), 1);
    EXPECT_EQ(result.standardOutput, "/bin/sh|-c|echo a b|");
}

} // namespace
} // namespace tavo
