#include "app/TavoAppModelTesting.h"
#include "app/UserNotices.h"
#include "runtime/macos/CaffeinateCommandRunner.h"

#include <stdexcept>

namespace tavo {
namespace {

/// The assertion's child ends as soon as it is there.
class DyingAssertions final : public CommandRunning {
public:
    explicit DyingAssertions(std::shared_ptr<AssertionStatus> assertionStatus)
        : assertionStatus(std::move(assertionStatus)) {}
    bool supportsPrivilegedCommands() const override { return false; }
    ShellCommandResult run(const ShellCommand&) override { return {}; }
    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override {
        const auto inner = std::make_shared<ScriptedCommandRunner>();
        auto child = CaffeinateCommandRunner(inner, assertionStatus).start(command);
        inner->children.back()->dieFromOutside();
        ++timesStarted;
        return child;
    }
    int timesStarted = 0;

private:
    std::shared_ptr<AssertionStatus> assertionStatus;
};

TEST_F(TavoAppModelTest, SwitchedOffItEvaluatesNothingAndArmsOneTimer) {
    startWith({});
    EXPECT_EQ(model->runtimeSnapshot(), RuntimeSnapshot::idle());
    EXPECT_FALSE(std::filesystem::exists(store->paths().stateURL()));
    EXPECT_EQ(loop->armedTimers(), 1U);
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(saved().lastDecisionReason, Reason::disabled);
}

TEST_F(TavoAppModelTest, SwitchedOnItEvaluatesAtOnce) {
    startWith(enabled());
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    EXPECT_EQ(model->runtimeStatusCopy(), (RuntimeStatusCopy{"keeping computer awake", "always on"}));
    EXPECT_EQ(saved(), model->runtimeSnapshot());
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, AnHourOfEvaluationsIsOneAMinute) {
    auto config = enabled();
    config.trigger = defaultRule(TriggerPreset::codex);
    startWith(config);
    loop->advance(std::chrono::hours{1});
    EXPECT_EQ(table->timesRead, 61);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, AnEvaluationPicksUpAnEditedConfiguration) {
    startWith({});
    store->saveConfig(enabled());
    loop->advance(std::chrono::seconds{60});
    EXPECT_TRUE(model->config().isEnabled);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    EXPECT_TRUE(has(changes.back(), ModelProperty::config));
}

TEST_F(TavoAppModelTest, ABrokenConfigurationLeavesTheOldOneInForceUntilItIsReadAgain) {
    startWith(enabled());
    folder.write("config.json", "{");
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->config(), enabled());
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::active);
    ASSERT_TRUE(model->configFileError());
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(fileContent(store->paths().configURL()), "{");
    store->saveConfig({});
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(model->configFileError(), std::nullopt);
    EXPECT_FALSE(model->config().isEnabled);
}

TEST_F(TavoAppModelTest, ABrokenConfigurationAtTheStartMeansSwitchedOff) {
    folder.write("config.json", R"({"isEnabled": 1})");
    make();
    EXPECT_EQ(model->config(), AppConfig::defaultConfig());
    EXPECT_EQ(model->configFileError(), "isEnabled: expected true or false but found a number.");
    EXPECT_EQ(fileContent(store->paths().configURL()), R"({"isEnabled": 1})");
}

TEST_F(TavoAppModelTest, ABrokenStateFileIsReplaced) {
    folder.write("state.json", "nonsense");
    startWith(enabled());
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_EQ(saved().lastDecisionReason, Reason::active);
}

TEST_F(TavoAppModelTest, AFailedEvaluationStopsTheLoopAndIsRecorded) {
    auto config = enabled();
    config.trigger = defaultRule(TriggerPreset::codex);
    table->processes = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}};
    startWith(config);
    table->failure = std::make_exception_ptr(ProcessWatcherError::malformedTimeValue("x"));
    loop->advance(std::chrono::seconds{60});
    const std::string text = "could not parse cpu time value: x";
    EXPECT_EQ(loop->armedTimers(), 0U);
    EXPECT_EQ(model->lastError(), text);
    EXPECT_TRUE(model->evaluationFailure());
    EXPECT_EQ(model->runtimeSnapshot(),
              (RuntimeSnapshot{.isEnabled = true,
                               .isWakeAssertionActive = true,
                               .lastEvaluationDate = loop->now(),
                               .lastDecisionReason = Reason::error,
                               .matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}},
                               .lastError = text}));
    EXPECT_EQ(saved(), model->runtimeSnapshot());
}

TEST_F(TavoAppModelTest, TheNextEvaluationStartsAStoppedLoopAgain) {
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    startWith(enabled());
    EXPECT_EQ(model->runtimeStatusCopy(), (RuntimeStatusCopy{"needs attention", "no means."}));
    EXPECT_EQ(loop->armedTimers(), 0U);
    runner->failure = nullptr;
    model->evaluateNow();
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_FALSE(model->evaluationFailure());
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, OneNotificationSaysAllThatChanged) {
    startWith(enabled());
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_TRUE(has(changes[0], ModelProperty::runtimeSnapshot));
    EXPECT_FALSE(has(changes[0], ModelProperty::config));
    EXPECT_FALSE(has(changes[0], ModelProperty::lastError));
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 50};
    loop->advance(std::chrono::seconds{60});
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_TRUE(has(changes[1], ModelProperty::powerStatus));
}

TEST_F(TavoAppModelTest, ANoticeOfTheAssertionIsAnnounced) {
    startWith(enabled());
    const auto token = assertionStatus->open();
    assertionStatus->record(token,
                            {.service = AssertionService::logind, .what = "idle", .notice = "sleep was refused."});
    loop->runPosted();
    EXPECT_EQ(model->assertionNotice(), "sleep was refused.");
    EXPECT_TRUE(has(changes.back(), ModelProperty::assertionNotice));
}

TEST_F(TavoAppModelTest, AnAssertionThatEndedUnaskedIsTakenAgainAfterASecond) {
    startWith(enabled());
    const auto token = assertionStatus->open();
    assertionStatus->record(token, {.service = AssertionService::logind, .what = "idle:sleep"});
    loop->advance(std::chrono::seconds{5});
    runner->children.back()->dieFromOutside();
    assertionStatus->close(token);
    EXPECT_EQ(runner->children.size(), 1U);
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(runner->children.size(), 2U);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, AnAssertionThatEndedUnaskedIsNotSaidToBeHeld) {
    assertions = std::make_shared<CaffeinateCommandRunner>(runner, assertionStatus);
    startWith(enabled());
    loop->runPosted();
    EXPECT_EQ(assertionStatus->summary(), "idle:sleep (caffeinate)");
    EXPECT_FALSE(model->hasLostAssertion());
    changes.clear();
    runner->children.back()->dieFromOutside();
    loop->runPosted();
    EXPECT_TRUE(model->hasLostAssertion());
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_TRUE(has(changes[0], ModelProperty::runtimeSnapshot));
    EXPECT_THAT(UserNotices::of(*model).warnings, ElementsAre("the lock was lost and is being taken again."));
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(runner->children.size(), 2U);
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_TRUE(UserNotices::of(*model).isEmpty());
}

TEST_F(TavoAppModelTest, WithTheLidCoveredALostAssertionLeavesTheMachineAwake) {
    assertions = std::make_shared<CaffeinateCommandRunner>(runner, assertionStatus);
    installHelper();
    startWith(enabledWithLidClosed());
    runner->children.back()->dieFromOutside();
    loop->runPosted();
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(runner->children.size(), 2U);
}

TEST_F(TavoAppModelTest, AnAssertionThatEndsWhileItIsTakenIsTakenAgainAfterASecond) {
    const auto dying = std::make_shared<DyingAssertions>(assertionStatus);
    assertions = dying;
    startWith(enabled());
    loop->runPosted();
    EXPECT_TRUE(model->hasLostAssertion());
    EXPECT_EQ(dying->timesStarted, 1);
    loop->advance(std::chrono::seconds{1});
    EXPECT_EQ(dying->timesStarted, 2);
}

TEST_F(TavoAppModelTest, ALostAssertionIsTakenOnlyWhileAwakeIsWanted) {
    assertions = std::make_shared<CaffeinateCommandRunner>(runner, assertionStatus);
    startWith(enabled());
    model->toggleEnabled();
    runner->children.back()->dieFromOutside();
    loop->advance(std::chrono::seconds{5});
    EXPECT_EQ(runner->children.size(), 1U);
    EXPECT_FALSE(model->hasLostAssertion());
}

TEST_F(TavoAppModelTest, TimersAreKeptOnTimeWhileItIsSwitchedOn) {
    startWith(watching(TriggerPreset::codex));
    EXPECT_EQ(activity->underWay, 1) << "waiting for a program counts, too";
    loop->advance(std::chrono::minutes{5});
    EXPECT_THAT(activity->reasons, testing::SizeIs(1));
    model->toggleEnabled();
    EXPECT_EQ(activity->underWay, 0);
    store->saveConfig(enabled());
    loop->advance(std::chrono::seconds{60});
    EXPECT_EQ(activity->underWay, 1) << "switched on in the file";
    table->failure = runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    model->refresh();
    EXPECT_EQ(activity->underWay, 1);
    model->quit();
    EXPECT_EQ(activity->underWay, 0);
}

TEST_F(TavoAppModelTest, SwitchedOffTimersMayBeLate) {
    startWith({});
    loop->advance(std::chrono::minutes{5});
    EXPECT_EQ(activity->underWay, 0);
}

TEST_F(TavoAppModelTest, AStepThatThrowsDoesNotSilenceThoseThatFollow) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 77; });
    changes.clear();
    power->failure = std::make_exception_ptr(std::runtime_error("no reading"));
    EXPECT_THROW(model->toggleEnabled(), std::runtime_error);
    EXPECT_THAT(changes, IsEmpty());
    power->failure = nullptr;
    model->revertDraft();
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_TRUE(has(changes.back(), ModelProperty::draftConfig));
    model->toggleEnabled();
    EXPECT_TRUE(has(changes.back(), ModelProperty::config));
}

TEST_F(TavoAppModelTest, QuittingReleasesEverythingAndArmsNothing) {
    startWith(enabled());
    model->quit();
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_EQ(saved().lastDecisionReason, Reason::disabled);
    EXPECT_FALSE(saved().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 0U);
    EXPECT_TRUE(store->loadConfig().isEnabled);
}

TEST_F(TavoAppModelTest, WhatIsReleasedForAStopIsTakenAgainByTheNextEvaluation) {
    startWith(enabled());
    EXPECT_TRUE(model->releaseEverything());
    EXPECT_THAT(*runner->log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
    EXPECT_FALSE(saved().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 0U);
    EXPECT_TRUE(store->loadConfig().isEnabled);
    model->evaluateNow();
    EXPECT_EQ(runner->children.size(), 2U);
    EXPECT_TRUE(saved().isWakeAssertionActive);
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, QuittingInterruptsTheWaitForAnAdministrator) {
    startWith(enabled());
    EXPECT_FALSE(interruption->isInterrupted());
    model->quit();
    EXPECT_TRUE(interruption->isInterrupted());
}

TEST_F(TavoAppModelTest, QuittingAgainDoesNothing) {
    startWith(enabled());
    model->quit();
    const auto asked = application.asked;
    changes.clear();
    model->quit();
    model->toggleEnabled();
    EXPECT_EQ(application.asked, asked);
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_TRUE(store->loadConfig().isEnabled);
}

TEST_F(TavoAppModelTest, WhatWasPostedForAModelThatIsGoneDoesNothing) {
    store->saveConfig(enabled());
    make();
    model->start();
    model.reset();
    loop->advance(std::chrono::hours{1});
    EXPECT_THAT(*runner->log, IsEmpty());
}

TEST_F(TavoAppModelTest, WithAHelperThatIsReadyTheLidMayBeClosed) {
    installHelper();
    startWith(enabledWithLidClosed());
    EXPECT_EQ(model->helperInstallState(), PrivilegedHelperInstallState::ready);
    EXPECT_THAT(asked(), ElementsAre(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, true)));
    model->quit();
    EXPECT_THAT(asked(), ElementsAre(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, false)));
}

TEST_F(TavoAppModelTest, WithoutAHelperTheLidMayNotBeClosed) {
    startWith(enabledWithLidClosed());
    EXPECT_EQ(model->lastError(), WakeControlError::closedLidRequiresPrivilege().description());
    EXPECT_THAT(helper->commands, IsEmpty());
    EXPECT_EQ(runner->children.size(), 0U);
}

TEST_F(TavoAppModelTest, AHelperThatDoesNotAnswerIsNotAskedForMore) {
    installHelper();
    helper->otherwise = PrivilegedHelperResponse::ok();
    startWith(enabledWithLidClosed());
    EXPECT_EQ(model->helperInstallState(), PrivilegedHelperInstallState::installedUnreachable);
    EXPECT_EQ(model->lastError(), WakeControlError::closedLidRequiresPrivilege().description());
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(TavoAppModelTest, RefreshingFindsAHelperThatHasBeenInstalled) {
    startWith(enabledWithLidClosed());
    installHelper();
    model->refresh();
    EXPECT_EQ(model->helperInstallState(), PrivilegedHelperInstallState::ready);
    EXPECT_TRUE(has(changes.back(), ModelProperty::helperInstallState));
    EXPECT_EQ(model->lastError(), std::nullopt);
    EXPECT_THAT(asked(), ElementsAre(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, true)));
    EXPECT_EQ(loop->armedTimers(), 1U);
}

TEST_F(TavoAppModelTest, RefreshingFindsAHelperThatHasGone) {
    installHelper();
    startWith(enabledWithLidClosed());
    std::filesystem::remove(helperSetup->helperExecutable());
    model->refresh();
    EXPECT_EQ(model->helperInstallState(), PrivilegedHelperInstallState::notInstalled);
    EXPECT_EQ(model->lastError(), WakeControlError::closedLidRequiresPrivilege().description());
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    ASSERT_EQ(runner->children.size(), 1U);
    EXPECT_FALSE(runner->children[0]->isRunning()) << "nothing of the old coordinator is left";
}

TEST_F(TavoAppModelTest, RefreshingBeginsAnOverrideAnewThatAReplacedHelperHasForgotten) {
    installHelper();
    startWith(enabledWithLidClosed());
    asked();
    model->refresh();
    EXPECT_THAT(asked(), ElementsAre(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, true)));
    EXPECT_EQ(runner->children.size(), 1U) << "the lock itself stays as it is";
}

TEST_F(TavoAppModelTest, RefreshingWithTheLidOpenAsksTheHelperForNothing) {
    installHelper();
    startWith(enabled());
    model->refresh();
    EXPECT_THAT(asked(), IsEmpty());
}

} // namespace
} // namespace tavo
