#include "login/macos/HeadlessLaunchAgent.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "login/macos/LoginLaunchManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HeadlessLaunchAgentTest : public ::testing::Test {
protected:
    std::string line(const std::string& action, const std::string& file) const {
        return "run /bin/launchctl " + action + " gui/" + std::to_string(getuid()) + " " + (agents / file).string();
    }

    TemporaryDirectory home;
    std::filesystem::path agents = home.path() / "Library/LaunchAgents";
    std::filesystem::path file = agents / "com.vrd.tavo.run.plist";
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    HeadlessLaunchAgent agent{home.path(), runner, [](std::chrono::microseconds) {}};
};

TEST_F(HeadlessLaunchAgentTest, TheJobIsStartedAtLoginAndAgainAfterAFailure) {
    (void)agent.enable("/Applications/Tavo & Co.app/Contents/Helpers/tavoctl");
    EXPECT_EQ(fileContent(file),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
	<dict>
		<key>Label</key>
		<string>com.vrd.tavo.run</string>
		<key>ProgramArguments</key>
		<array>
			<string>/Applications/Tavo &amp; Co.app/Contents/Helpers/tavoctl</string>
			<string>run</string>
			<string>--service</string>
		</array>
		<key>RunAtLoad</key>
		<true />
		<key>KeepAlive</key>
		<dict>
			<key>SuccessfulExit</key>
			<false />
		</dict>
		<key>ThrottleInterval</key>
		<integer>300</integer>
		<key>StandardErrorPath</key>
		<string>)" +
                  agent.log() +
                  R"(</string>
	</dict>
</plist>
)");
    EXPECT_EQ(agent.log(), (home.path() / "Library/Logs/com.vrd.tavo.run.log").string());
    EXPECT_TRUE(agent.isEnabled());
}

TEST_F(HeadlessLaunchAgentTest, EnablingAgainStartsItAnew) {
    (void)agent.enable("/one");
    (void)agent.enable("/two");
    EXPECT_THAT(*runner->log,
                ElementsAre(line("bootout", "com.vrd.tavo.run.plist"), line("bootstrap", "com.vrd.tavo.run.plist"),
                            line("bootout", "com.vrd.tavo.run.plist"), line("bootstrap", "com.vrd.tavo.run.plist")));
    EXPECT_THAT(fileContent(file), ::testing::HasSubstr("<string>/two</string>"));
}

TEST_F(HeadlessLaunchAgentTest, ACopyThatIsStillBeingUnloadedIsWaitedFor) {
    runner->results = {{}, {.exitCode = 5}, {}, {.exitCode = 113}, {}};
    (void)agent.enable("/one");
    const auto print = "run /bin/launchctl print gui/" + std::to_string(getuid()) + "/com.vrd.tavo.run";
    EXPECT_THAT(*runner->log,
                ElementsAre(line("bootout", "com.vrd.tavo.run.plist"), line("bootstrap", "com.vrd.tavo.run.plist"),
                            print, print, line("bootstrap", "com.vrd.tavo.run.plist")));
}

TEST_F(HeadlessLaunchAgentTest, ALoginWithoutADesktopIsSaidInLaunchctlsWords) {
    runner->results = {{}, {.exitCode = 125, .standardError = "Domain does not support specified action"}};
    try {
        (void)agent.enable("/one");
        FAIL() << "nothing was thrown";
    } catch (const LoginLaunchManagerError& error) {
        EXPECT_EQ(error.description(), "Domain does not support specified action");
    }
}

TEST_F(HeadlessLaunchAgentTest, SwitchingOffUnloadsAndRemoves) {
    (void)agent.enable("/one");
    EXPECT_TRUE(agent.disable());
    EXPECT_EQ(runner->log->back(), line("bootout", "com.vrd.tavo.run.plist"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(agent.disable());
}

TEST_F(HeadlessLaunchAgentTest, TheAppsOwnAgentIsAnotherJob) {
    LoginLaunchManager app(agents / "com.vrd.tavo.plist", runner, [](std::chrono::microseconds) {});
    (void)app.enable("/app", {});
    (void)agent.enable("/one");
    agent.disable();
    EXPECT_TRUE(app.isEnabled());
    runner->log->clear();
    (void)agent.enable("/one");
    app.disable();
    EXPECT_TRUE(agent.isEnabled());
    EXPECT_EQ(runner->log->back(), line("bootout", "com.vrd.tavo.plist"));
}

} // namespace
} // namespace tavo
