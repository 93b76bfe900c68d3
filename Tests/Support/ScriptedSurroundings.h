#pragma once

#include "Support/FailingStore.h"
#include "Support/FixedPowerEnvironment.h"
#include "Support/ManualMainLoop.h"
#include "Support/ScriptedApplication.h"
#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/ScriptedLaunchAtLogin.h"
#include "Support/ScriptedPowerChanges.h"
#include "Support/ScriptedProcessActivity.h"
#include "Support/ScriptedProcessTable.h"
#include "Support/TemporaryDirectory.h"
#include "app/TavoAppModel.h"
#include "helper/macos/LaunchDaemonSetup.h"

#include <optional>

namespace tavo {

/// Everything that a model works with, as the test scripts it, over real files.
struct ScriptedSurroundings {
    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> store = std::make_shared<TavoStore>(TavoPaths{folder.path()});
    std::shared_ptr<FailingStore> disk = std::make_shared<FailingStore>(store);
    std::shared_ptr<ManualMainLoop> loop = std::make_shared<ManualMainLoop>(*parseISO8601("2026-01-31T09:00:00Z"));
    std::shared_ptr<FixedPowerEnvironment> power = std::make_shared<FixedPowerEnvironment>();
    std::shared_ptr<ScriptedPowerChanges> powerChanges = std::make_shared<ScriptedPowerChanges>();
    std::shared_ptr<ScriptedProcessActivity> activity = std::make_shared<ScriptedProcessActivity>();
    std::shared_ptr<ScriptedProcessTable> table = std::make_shared<ScriptedProcessTable>();
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<ScriptedCommandRunner> administrator = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<AssertionStatus> assertionStatus = std::make_shared<AssertionStatus>();

    /// Starts the assertion's child; `runner` does where it is null.
    std::shared_ptr<CommandRunning> assertions;
    std::shared_ptr<ScriptedHelperClient> helper = std::make_shared<ScriptedHelperClient>();
    std::shared_ptr<LaunchDaemonSetup> helperSetup = std::make_shared<LaunchDaemonSetup>(
        PrivilegedHelperInstallLayout{folder.path() / "system/helper", folder.path() / "system/service"});
    std::optional<std::filesystem::path> helperSource = folder.write("build/helper", "helper");
    std::shared_ptr<ScriptedLaunchAtLogin> login = std::make_shared<ScriptedLaunchAtLogin>();
    std::optional<std::filesystem::path> desktopApp = "/opt/tavo/bin/tavo";
    std::shared_ptr<Interruption> interruption = std::make_shared<Interruption>();
    int pauses = 0;
    ScriptedApplication application;

    std::string machineNoun = "computer";
    bool goesOnWithoutState = false;

    Platform platform() {
        Platform platform;
        platform.powerEnvironment = power;
        platform.powerChanges = powerChanges;
        platform.processActivity = activity;
        platform.processes = table;
        platform.commandRunner = runner;
        platform.assertionRunner = assertions ? assertions : runner;
        platform.assertionStatus = assertionStatus;
        platform.helperClient = helper;
        platform.helperSetup = helperSetup;
        platform.findHelperSource = [this] { return helperSource; };
        platform.interruption = interruption;
        platform.administratorRunner = administrator;
        platform.sleeper = [this](std::chrono::microseconds) { ++pauses; };
        platform.launchAtLogin = login;
        platform.desktopApp = desktopApp;
        platform.machineNoun = machineNoun;
        platform.goesOnWithoutState = goesOnWithoutState;
        return platform;
    }

    void installHelper(const std::string& content = "helper") const {
        folder.write("system/helper", content);
        folder.write("system/service", helperSetup->serviceDefinitionContent());
    }
    void removeHelper() const { std::filesystem::remove_all(folder.path() / "system"); }
};

} // namespace tavo
