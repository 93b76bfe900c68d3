#include "helper/macos/AdministratorCommandRunner.h"

#include "Support/ScriptedCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

class AdministratorCommandRunnerTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedCommandRunner> system = std::make_shared<ScriptedCommandRunner>();
    AdministratorCommandRunner runner{system};

    /// The AppleScript that a privileged command becomes.
    std::string sourceFor(const std::filesystem::path& program, std::vector<std::string> arguments) {
        runner.run({.executableURL = program, .arguments = std::move(arguments), .requiresPrivilege = true});
        const auto& command = system->commands.back();
        EXPECT_EQ(command.executableURL, "/usr/bin/osascript");
        EXPECT_EQ(command.arguments.size(), 2U);
        EXPECT_EQ(command.arguments.front(), "-e");
        EXPECT_FALSE(command.requiresPrivilege);
        return command.arguments.back();
    }
};

TEST_F(AdministratorCommandRunnerTest, WithoutPrivilegeACommandRunsUnchanged) {
    const ShellCommand command{.executableURL = "/bin/ps", .arguments = {"-a \"b\""}, .startsOwnProcessGroup = true};
    system->results = {{.exitCode = 3, .standardOutput = "out", .standardError = "err"}};
    EXPECT_EQ(runner.run(command),
              (ShellCommandResult{.exitCode = 3, .standardOutput = "out", .standardError = "err"}));
    runner.start(command);
    EXPECT_THAT(system->commands, testing::ElementsAre(command, command));
}

TEST_F(AdministratorCommandRunnerTest, APrivilegedCommandAsksThroughAppleScript) {
    EXPECT_EQ(sourceFor("/bin/sh", {"-c", "id"}),
              R"(do shell script "'/bin/sh' '-c' 'id'" with administrator privileges)");
}

TEST_F(AdministratorCommandRunnerTest, AReasonIsShownInThePrompt) {
    runner.run({.executableURL = "/usr/bin/id", .requiresPrivilege = true, .approvalPrompt = R"(say "why")"});
    EXPECT_EQ(system->commands.back().arguments.back(),
              R"(do shell script "'/usr/bin/id'" with prompt "say \"why\"" with administrator privileges)");
}

TEST_F(AdministratorCommandRunnerTest, ADoubleQuoteAndABackslashAreEscapedOnce) {
    EXPECT_EQ(sourceFor("/bin/echo", {R"(a"b)"}),
              R"(do shell script "'/bin/echo' 'a\"b'" with administrator privileges)");
    EXPECT_EQ(sourceFor("/bin/echo", {R"(a\b)"}),
              R"(do shell script "'/bin/echo' 'a\\b'" with administrator privileges)");
    EXPECT_EQ(sourceFor("/bin/echo", {R"(\")"}),
              R"(do shell script "'/bin/echo' '\\\"'" with administrator privileges)");
}

TEST_F(AdministratorCommandRunnerTest, TheShellsOwnQuotingIsEscapedForAppleScript) {
    EXPECT_EQ(sourceFor("/bin/echo", {"a'b"}),
              R"(do shell script "'/bin/echo' 'a'\\''b'" with administrator privileges)");
}

TEST_F(AdministratorCommandRunnerTest, LineFeedsStayAsTheyAre) {
    EXPECT_EQ(sourceFor("/bin/sh", {"-c", "set -e\nid"}),
              "do shell script \"'/bin/sh' '-c' 'set -e\nid'\" with administrator privileges");
}

TEST_F(AdministratorCommandRunnerTest, TheResultIsOsascriptsOwn) {
    const ShellCommandResult cancelled{.exitCode = 1, .standardError = "execution error: User canceled. (-128)"};
    system->results = {cancelled};
    EXPECT_EQ(runner.run({.executableURL = "/bin/sh", .requiresPrivilege = true}), cancelled);
}

TEST_F(AdministratorCommandRunnerTest, ALongLivedPrivilegedCommandAsksTheSameWay) {
    EXPECT_TRUE(runner.supportsPrivilegedCommands());
    runner.start({.executableURL = "/bin/sh", .requiresPrivilege = true});
    EXPECT_THAT(*system->log,
                testing::ElementsAre(
                    R"(start /usr/bin/osascript -e do shell script "'/bin/sh'" with administrator privileges)"));
}

} // namespace
} // namespace tavo
