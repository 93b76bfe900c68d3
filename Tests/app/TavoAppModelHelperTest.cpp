#include "app/TavoAppModelTesting.h"

namespace tavo {
namespace {

using Command = PrivilegedHelperCommand;

class HelperFlowTest : public TavoAppModelTest {
protected:
    HelperFlowTest() {
        administrator->onRun = [this] { installHelper(); };
    }
};

TEST_F(HelperFlowTest, InstallingGrantsThePermission) {
    startWith(enabledWithLidClosed());
    ASSERT_TRUE(model->needsClosedLidPermission());
    model->installHelper();
    EXPECT_TRUE(model->isInstallingHelper());
    EXPECT_FALSE(model->canInstallHelper());
    EXPECT_EQ(model->lastError(), std::nullopt);
    loop->runPosted();
    EXPECT_FALSE(model->isInstallingHelper());
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
    EXPECT_TRUE(model->config().closedLidPermissionGranted);
    EXPECT_TRUE(model->draftConfig().closedLidPermissionGranted);
    EXPECT_TRUE(store->loadConfig().closedLidPermissionGranted);
    EXPECT_FALSE(model->needsClosedLidPermission());
    EXPECT_TRUE(model->supportsSilentHelperReset());
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_THAT(asked(), ElementsAre(Command::setSleepDisabled(PMSetScope::all, true)));
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(HelperFlowTest, ASecondCallWhileOneRunsDoesNothing) {
    startWith({});
    model->installHelper();
    model->installHelper();
    model->resetHelper();
    EXPECT_EQ(administrator->commands.size(), 1U);
    loop->runPosted();
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(HelperFlowTest, WithoutAHelperInThisBuildThereIsNothingToInstall) {
    helperSource.reset();
    startWith({});
    EXPECT_FALSE(model->canInstallHelper());
    model->installHelper();
    EXPECT_EQ(model->lastError(), "could not find the tavo helper executable in this build");
    EXPECT_FALSE(model->isInstallingHelper());
    EXPECT_THAT(administrator->commands, IsEmpty());
}

TEST_F(HelperFlowTest, TheHelperIsLookedForAtEachInstallation) {
    startWith({});
    helperSource = folder.write("moved/helper", "helper");
    model->installHelper();
    loop->runPosted();
    ASSERT_EQ(administrator->commands.size(), 1U);
    EXPECT_THAT(administrator->commands[0].arguments.back(), testing::HasSubstr(helperSource->string()));
    helperSource.reset();
    EXPECT_FALSE(model->canInstallHelper());
    model->installHelper();
    EXPECT_EQ(model->lastError(), "could not find the tavo helper executable in this build");
    EXPECT_EQ(administrator->commands.size(), 1U);
}

TEST_F(HelperFlowTest, ARefusalIsSaidAndNothingIsGranted) {
    administrator->onRun = nullptr;
    administrator->results = {{.exitCode = 1, .standardOutput = "", .standardError = "user canceled."}};
    startWith(enabledWithLidClosed());
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->lastError(), "user canceled.");
    EXPECT_EQ(model->helperInstallState(), HelperState::notInstalled);
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
    EXPECT_FALSE(model->isInstallingHelper());
    EXPECT_TRUE(model->canInstallHelper());
}

TEST_F(HelperFlowTest, AForeignProgramInTheHelpersPlaceIsNeverReadyWhateverItAnswers) {
    administrator->onRun = [this] {
        installHelper();
        folder.write("system/helper", "foreign");
    };
    startWith(enabledWithLidClosed());
    model->installHelper();
    loop->runPosted();
    EXPECT_THAT(*model->lastError(), testing::HasSubstr("a foreign program has been started as root"));
    EXPECT_EQ(model->helperInstallState(), HelperState::installedUnreachable);
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
    model->refresh();
    loop->advance(std::chrono::seconds{120});
    EXPECT_EQ(model->helperInstallState(), HelperState::installedUnreachable);
    EXPECT_THAT(asked(), IsEmpty());

    // Removed as the message says, and installed as it was meant.
    std::filesystem::remove_all(folder.path() / "system");
    model->refresh();
    EXPECT_EQ(model->helperInstallState(), HelperState::notInstalled);
    administrator->onRun = [this] { installHelper(); };
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
}

TEST_F(HelperFlowTest, AHelperThatNeverAnswersIsInstalledAndUnreachable) {
    helper->otherwise = PrivilegedHelperResponse::ok();
    startWith({});
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->lastError(), "installed the privileged helper, but tavo could not reach it.");
    EXPECT_EQ(model->helperInstallState(), HelperState::installedUnreachable);
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
    EXPECT_EQ(pauses, 49);
    EXPECT_EQ(loop->armedTimers(), 1U) << "a switched-off Tavo goes on looking at its file";
}

TEST_F(HelperFlowTest, AHelperThatAnswersTheInstallerAndThenFallsSilentIsWaitedFor) {
    startWith({});
    helper->answers = {PrivilegedHelperResponse::pong(), PrivilegedHelperResponse::ok(),
                       PrivilegedHelperResponse::ok()};
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
    EXPECT_TRUE(model->config().closedLidPermissionGranted);
    EXPECT_EQ(pauses, 1);
}

TEST_F(HelperFlowTest, WhatIsBeingInstalledStaysUnsavedAsItWas) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 44; });
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->draftConfig().batteryCutoffPercent, 44);
    EXPECT_TRUE(model->draftConfig().closedLidPermissionGranted);
    EXPECT_EQ(store->loadConfig().batteryCutoffPercent, AppConfig::defaultBatteryCutoffPercent);
}

TEST_F(HelperFlowTest, APermissionThatCannotBeSavedIsSaid) {
    startWith(enabled());
    disk->hasNoRoomForConfig = true;
    model->installHelper();
    loop->runPosted();
    EXPECT_EQ(model->lastError(), "could not write: no space left on device.");
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
}

TEST_F(HelperFlowTest, AnInstallationThatEndsAfterTheModelDoesNothing) {
    startWith({});
    model->installHelper();
    model.reset();
    loop->runPosted();
    EXPECT_FALSE(store->loadConfig().closedLidPermissionGranted);
}

TEST_F(HelperFlowTest, ResettingRemovesTheHelperAndThePermission) {
    installHelper();
    auto config = enabled();
    config.closedLidPermissionGranted = true;
    startWith(config);
    asked();
    // The files are gone as soon as the helper has been asked.
    helper->onSend = [this](const Command& command) {
        if (command == Command::resetSupport()) {
            removeHelper();
        }
    };
    model->resetHelper();
    EXPECT_TRUE(model->isInstallingHelper());
    loop->runPosted();
    EXPECT_THAT(asked(), ElementsAre(Command::resetSupport()));
    EXPECT_FALSE(model->isInstallingHelper());
    EXPECT_EQ(model->helperInstallState(), HelperState::notInstalled);
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
    EXPECT_FALSE(store->loadConfig().closedLidPermissionGranted);
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(HelperFlowTest, AResetThatLeavesFilesIsSaid) {
    installHelper();
    startWith(enabled());
    model->resetHelper();
    loop->runPosted();
    EXPECT_EQ(pauses, 24) << "25 looks";
    EXPECT_EQ(model->lastError(), "closed-lid support could not be fully reset");
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
    EXPECT_FALSE(model->config().closedLidPermissionGranted);
}

TEST_F(HelperFlowTest, AResetThatTheHelperRefusesIsSaid) {
    installHelper();
    startWith({});
    helper->answers = {PrivilegedHelperResponse::error("no.")};
    model->resetHelper();
    loop->runPosted();
    EXPECT_EQ(pauses, 0);
    EXPECT_EQ(model->lastError(), "closed-lid support could not be fully reset");
}

TEST_F(HelperFlowTest, AnotherBuildsHelperIsNotAskedToRemoveItself) {
    installHelper("another helper");
    startWith({});
    asked();
    EXPECT_EQ(model->helperInstallState(), HelperState::ready);
    EXPECT_FALSE(model->supportsSilentHelperReset());
    model->resetHelper();
    loop->runPosted();
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_FALSE(model->isInstallingHelper());
}

TEST_F(HelperFlowTest, AHelperReplacedSinceTheLastLookIsNotTrusted) {
    installHelper();
    startWith({});
    asked();
    ASSERT_TRUE(model->supportsSilentHelperReset());
    installHelper("another helper");
    model->resetHelper();
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_FALSE(model->isInstallingHelper());
}

TEST_F(HelperFlowTest, RefreshingNoticesThatTheHelperIsNoLongerThisBuilds) {
    installHelper();
    startWith({});
    installHelper("another helper");
    model->refresh();
    EXPECT_FALSE(model->supportsSilentHelperReset());
    EXPECT_TRUE(has(changes.back(), ModelProperty::supportsSilentHelperReset));
}

TEST_F(HelperFlowTest, ThePermissionIsNeededForAClosedLidAlone) {
    for (const auto mode : allCases<WatchMode>()) {
        auto config = AppConfig::defaultConfig();
        config.watchMode = mode;
        startWith(config);
        EXPECT_EQ(model->needsClosedLidPermission(), mode != WatchMode::open);
    }
    installHelper();
    startWith(enabledWithLidClosed());
    EXPECT_FALSE(model->needsClosedLidPermission());
}

TEST_F(HelperFlowTest, ThePermissionIsAskedForByTheAppliedConfigurationAndNotByTheDraft) {
    startWith({});
    edit([](AppConfig& draft) { draft.watchMode = WatchMode::closed; });
    EXPECT_FALSE(model->needsClosedLidPermission());
    model->saveDraft();
    EXPECT_TRUE(model->needsClosedLidPermission());
}

TEST_F(HelperFlowTest, AnOverrideThatCouldNotBeEndedIsEndedLater) {
    installHelper();
    startWith(enabledWithLidClosed());
    asked();
    // Killed, and checked before it is back; it then continues the override of this living process.
    helper->otherwise = std::make_exception_ptr(std::runtime_error("nobody listens."));
    model->refresh();
    EXPECT_EQ(model->helperInstallState(), HelperState::installedUnreachable);
    helper->otherwise = PrivilegedHelperResponse::ok();
    asked();
    model->toggleEnabled();
    EXPECT_THAT(asked(), ElementsAre(Command::setSleepDisabled(PMSetScope::all, false)));
}

TEST_F(HelperFlowTest, AHelperThatComesLateIsFoundByTheUserAndByItself) {
    installHelper();
    helper->otherwise = PrivilegedHelperResponse::ok();
    startWith(enabledWithLidClosed());
    EXPECT_EQ(model->lastError(), WakeControlError::closedLidRequiresPrivilege().description());
    helper->otherwise = PrivilegedHelperResponse::pong();
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(HelperFlowTest, AnOverrideThatARefusalKeptInForceIsEndedAsSoonAsThatIsPossible) {
    installHelper();
    startWith(enabledWithLidClosed());
    helper->onSend = [](const Command& command) {
        if (command != Command::ping()) {
            throw std::runtime_error("not now.");
        }
    };
    model->toggleEnabled();
    EXPECT_EQ(model->lastError(), "not now.");
    loop->advance(std::chrono::seconds{60});
    const auto failedAt = loop->now();
    asked();
    for (int minute = 1; minute <= 10; ++minute) {
        EXPECT_EQ(loop->armedTimers(), 1U);
        loop->advance(std::chrono::seconds{60});
        EXPECT_THAT(asked(), ElementsAre(Command::setSleepDisabled(PMSetScope::all, false))) << minute;
    }
    EXPECT_EQ(model->runtimeSnapshot().lastEvaluationDate, failedAt) << "no evaluation follows a failure";
    EXPECT_EQ(model->lastError(), "not now.");
    helper->onSend = nullptr;
    loop->advance(std::chrono::seconds{60});
    EXPECT_THAT(asked(), ElementsAre(Command::setSleepDisabled(PMSetScope::all, false)));
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 1U);
    loop->advance(std::chrono::minutes{3});
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(HelperFlowTest, AnOverrideThatAnEmptyBatteryCouldNotEndIsEndedLater) {
    installHelper();
    auto config = enabledWithLidClosed();
    config.batteryCutoffPercent = 20;
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 21};
    startWith(config);
    power->status.batteryPercent = 20;
    helper->otherwise = std::make_exception_ptr(std::runtime_error("nobody listens."));
    loop->advance(std::chrono::minutes{5});
    asked();
    helper->otherwise = PrivilegedHelperResponse::pong();
    loop->advance(std::chrono::seconds{60});
    EXPECT_THAT(asked(), ElementsAre(Command::setSleepDisabled(PMSetScope::all, false)));
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::batteryCutoffReached);
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(HelperFlowTest, AHelperThatIsRemovedWhileItIsNeededIsMissedByTheNextEvaluation) {
    installHelper();
    startWith(enabledWithLidClosed());
    EXPECT_EQ(model->lastError(), std::nullopt);
    removeHelper();
    asked();
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->helperInstallState(), HelperState::notInstalled);
    EXPECT_EQ(model->lastError(), WakeControlError::closedLidRequiresPrivilege().description());
}

TEST_F(HelperFlowTest, AHelperThatIsThereIsNotAskedWhetherItIs) {
    installHelper();
    startWith(enabledWithLidClosed());
    asked();
    loop->advance(std::chrono::minutes{10});
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(HelperFlowTest, AnOverrideThatWentWithItsHelperIsNotAskedForAnyMore) {
    installHelper();
    startWith(enabledWithLidClosed());
    helper->otherwise = std::make_exception_ptr(std::runtime_error("nobody listens."));
    model->toggleEnabled();
    loop->advance(std::chrono::seconds{60});
    removeHelper();
    loop->advance(std::chrono::seconds{60});
    asked();
    loop->advance(std::chrono::minutes{10});
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
}

TEST_F(HelperFlowTest, AFailureWithTheOverrideRightlyInForceArmsNothing) {
    installHelper();
    auto config = watching(TriggerPreset::codex);
    config.watchMode = WatchMode::closed;
    table->processes = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}};
    startWith(config);
    table->failure = std::make_exception_ptr(ProcessWatcherError::malformedTimeValue("x"));
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(loop->armedTimers(), 0U);
    asked();
    loop->advance(std::chrono::minutes{10});
    EXPECT_THAT(asked(), IsEmpty());
}

} // namespace
} // namespace tavo
