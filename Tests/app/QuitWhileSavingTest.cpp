#include "Support/FixedPowerEnvironment.h"
#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/ScriptedProcessTable.h"
#include "Support/TemporaryDirectory.h"
#include "app/AsioMainLoop.h"
#include "app/TavoAppModel.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "login/macos/LoginLaunchManager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace tavo {
namespace {

/// A program over a real main loop with real signals, which quits on SIGTERM.
class SignalledProgram final : public ApplicationControlling {
public:
    void orderOutKeyWindow() override {}
    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel&) override { return nullptr; }
    void terminate() override { loop->stop(); }

    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> store = std::make_shared<TavoStore>(TavoPaths{folder.path()});
    std::shared_ptr<AsioMainLoop> loop = std::make_shared<AsioMainLoop>();
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<ScriptedCommandRunner> launchctl = std::make_shared<ScriptedCommandRunner>();
    std::filesystem::path agent = folder.path() / "LaunchAgents/com.vrd.tavo.plist";

    Platform platform() const {
        Platform result;
        result.powerEnvironment = std::make_shared<FixedPowerEnvironment>();
        result.processes = std::make_shared<ScriptedProcessTable>();
        result.commandRunner = runner;
        result.assertionRunner = runner;
        result.assertionStatus = std::make_shared<AssertionStatus>();
        result.helperClient = std::make_shared<ScriptedHelperClient>();
        result.helperSetup = std::make_shared<LaunchDaemonSetup>();
        result.launchAtLogin = std::make_shared<LoginLaunchManager>(agent, launchctl);
        result.desktopApp = "/Applications/Tavo.app/Contents/MacOS/tavo";
        return result;
    }
};

TEST(QuitWhileSaving, UnloadingTheAgentThatStartedThisProcessCompletesTheSaveBeforeItQuits) {
    SignalledProgram program;
    AppConfig config;
    config.isEnabled = true;
    config.launchAtLoginEnabled = true;
    program.store->saveConfig(config);
    const auto model = TavoAppModel::make(program.loop, program.store, program.platform(), program);
    bool hasQuit = false;
    program.loop->handleSignals({SIGTERM}, [&](int) {
        hasQuit = true;
        model->quit();
    });
    // launchd ends the job's process as it unloads the job.
    program.launchctl->onRun = [] { kill(getpid(), SIGTERM); };
    program.loop->post([&] {
        auto draft = model->draftConfig();
        draft.launchAtLoginEnabled = false;
        draft.batteryCutoffPercent = 55;
        model->editDraft(draft);
        model->saveDraft();
        EXPECT_FALSE(hasQuit);
        EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive) << "saved, and evaluated";
    });
    program.loop->run();
    EXPECT_TRUE(hasQuit);
    ASSERT_EQ(program.launchctl->commands.size(), 1U);
    EXPECT_EQ(program.launchctl->commands[0].arguments[0], "bootout");
    EXPECT_FALSE(std::filesystem::exists(program.agent));
    const auto saved = program.store->loadConfig();
    EXPECT_FALSE(saved.launchAtLoginEnabled);
    EXPECT_EQ(saved.batteryCutoffPercent, 55);
    EXPECT_TRUE(saved.isEnabled) << "so that the next start resumes";
    EXPECT_EQ(program.store->loadRuntimeSnapshot().lastDecisionReason, RuntimeDecisionReason::disabled);
    EXPECT_FALSE(program.runner->children.back()->isRunning());
}

} // namespace
} // namespace tavo
