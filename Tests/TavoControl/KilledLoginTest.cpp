// "tavoctl login" that is killed while it waits for the system.
#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/SettingsCommand.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "login/macos/LoginLaunchManager.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace tavo {
namespace {

class KilledLoginTest : public CommandTest {
protected:
    KilledLoginTest() {
        platform.desktopApp = "/opt/tavo/bin/tavo";
        platform.launchAtLogin = std::make_shared<LoginLaunchManager>(agent, runner, [this](auto) { dieAt("print"); });
        platform.helperClient = std::make_shared<ScriptedHelperClient>();
        platform.helperSetup = std::make_shared<LaunchDaemonSetup>(
            PrivilegedHelperInstallLayout{folder.path() / "system/helper", folder.path() / "system/service"});
        runner->onRun = [this] { dieAt(runner->commands.back().arguments.front()); };
    }

    void dieAt(const std::string& step) const {
        if (step == moment) {
            kill(getpid(), SIGKILL);
        }
    }

    /// Runs the command in a child that is killed when it comes to a step of launchctl.
    void switchTo(bool isOn, const std::string& killedAt) {
        const auto child = fork();
        if (child == 0) {
            moment = killedAt;
            try {
                SettingsCommand(platform, *store)
                    .change({.kind = ChangeOptions::Kind::set,
                             .key = "launchAtLoginEnabled",
                             .value = isOn ? "true" : "false",
                             .login = true});
            } catch (const std::exception&) {
                _exit(1); // it came past the step
            }
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(killedAt.empty() ? WIFEXITED(status) && WEXITSTATUS(status) == 0 : WIFSIGNALED(status)) << killedAt;
    }

    void expectEverythingSays(bool isOn) const {
        EXPECT_EQ(store->loadConfig().launchAtLoginEnabled, isOn);
        EXPECT_EQ(platform.launchAtLogin->isEnabled(), isOn);
    }

    std::filesystem::path agent = folder.path() / "agents/com.vrd.tavo.plist";
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::string moment;
};

TEST_F(KilledLoginTest, SwitchingOnLeavesTheNewState) {
    for (const auto* step : {"bootout", "bootstrap"}) {
        SCOPED_TRACE(step);
        switchTo(true, step);
        expectEverythingSays(true);
        switchTo(false, "");
        expectEverythingSays(false);
    }
}

TEST_F(KilledLoginTest, SwitchingOnLeavesTheNewStateWhileLaunchdStillHasAnEarlierAgent) {
    constexpr int refused = 5;
    runner->results = {{}, {.exitCode = refused}, {}};
    switchTo(true, "print");
    expectEverythingSays(true);
}

TEST_F(KilledLoginTest, SwitchingOffLeavesTheOldState) {
    switchTo(true, "");
    expectEverythingSays(true);
    switchTo(false, "bootout");
    expectEverythingSays(true);
}

TEST_F(KilledLoginTest, AFailureLeavesTheConfigurationAsItWas) {
    runner->results = {{}, {.exitCode = 1, .standardError = "no."}};
    EXPECT_THROW(
        SettingsCommand(platform, *store)
            .change({.kind = ChangeOptions::Kind::set, .key = "launchAtLoginEnabled", .value = "true", .login = true}),
        LoginLaunchManagerError);
    EXPECT_FALSE(store->loadConfig().launchAtLoginEnabled);
}

} // namespace
} // namespace tavo
