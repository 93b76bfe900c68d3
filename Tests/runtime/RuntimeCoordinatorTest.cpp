#include "runtime/RuntimeCoordinator.h"

#include "Support/FixedPowerEnvironment.h"
#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedProcessTable.h"
#include "Support/ScriptedSleepController.h"
#include "Support/TemporaryDirectory.h"
#include "config/TavoValidationError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Reason = RuntimeDecisionReason;

class RuntimeCoordinatorTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> store = std::make_shared<TavoStore>(TavoPaths{folder.path() / "Tavo"});
    std::shared_ptr<EventLog> log = std::make_shared<EventLog>();
    std::shared_ptr<FixedPowerEnvironment> power = std::make_shared<FixedPowerEnvironment>();
    std::shared_ptr<ScriptedProcessTable> table = std::make_shared<ScriptedProcessTable>();
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>(log);
    std::shared_ptr<ScriptedSleepController> sleep = std::make_shared<ScriptedSleepController>(log);
    RuntimeCoordinator coordinator{power, std::make_shared<ProcessWatcher>(table),
                                   std::make_shared<WakeController>(runner, sleep), store};
    AppConfig always;
    AppConfig process;

    RuntimeCoordinatorTest() {
        always.isEnabled = true;
        process = always;
        process.trigger = defaultRule(TriggerPreset::codex);
    }

    static TimePoint at(int seconds) { return TimePoint{std::chrono::hours{24 * 365} + std::chrono::seconds{seconds}}; }
    RuntimeSnapshot saved() const { return store->loadRuntimeSnapshot(); }
    bool isHeld() const { return coordinator.wakeStatus().isActive; }

    void runCodex(double cpuTime = 1) {
        table->processes = {
            {.pid = 10, .cpuTimeSeconds = cpuTime, .executableName = "codex", .commandLine = "codex --yes"},
            {.pid = 9, .cpuTimeSeconds = cpuTime, .executableName = "sh", .commandLine = "sh codex"}};
    }
    const std::vector<MatchedProcessSnapshot> codexMatches{
        {.pid = 10, .executableName = "codex", .commandLine = "codex --yes"},
        {.pid = 9, .executableName = "sh", .commandLine = "sh codex"}};

    void expectStopped(const RuntimeEvaluation& evaluation, Reason reason, bool isEnabled, int seconds,
                       const std::vector<MatchedProcessSnapshot>& matches = {}) {
        EXPECT_EQ(evaluation.snapshot, (RuntimeSnapshot{.isEnabled = isEnabled,
                                                        .isWakeAssertionActive = false,
                                                        .lastEvaluationDate = at(seconds),
                                                        .lastDecisionReason = reason,
                                                        .matchedProcesses = matches}))
            << rawValue(evaluation.snapshot.lastDecisionReason);
        EXPECT_EQ(evaluation.suggestedNextEvaluationInterval, 60.0);
        EXPECT_EQ(saved(), evaluation.snapshot);
        EXPECT_FALSE(isHeld());
    }
};

TEST_F(RuntimeCoordinatorTest, ASwitchedOffConfigurationIsDisabled) {
    expectStopped(coordinator.evaluate({}, at(0)), Reason::disabled, false, 0);
    EXPECT_THAT(*log, IsEmpty());
}

TEST_F(RuntimeCoordinatorTest, SwitchingOffLetsGo) {
    coordinator.evaluate(always, at(0));
    expectStopped(coordinator.evaluate({}, at(1)), Reason::disabled, false, 1);
    EXPECT_THAT(*log, ElementsAre("start /usr/bin/caffeinate -i -s", "stop"));
}

struct PolicyCase {
    PowerSourcePolicy policy;
    CurrentPowerSource source;
    bool isAllowed;
};

TEST_F(RuntimeCoordinatorTest, ThePolicyDecidesByTheSource) {
    for (const auto& [policy, source, isAllowed] : std::initializer_list<PolicyCase>{
             {PowerSourcePolicy::any, CurrentPowerSource::ac, true},
             {PowerSourcePolicy::any, CurrentPowerSource::battery, true},
             {PowerSourcePolicy::any, CurrentPowerSource::unknown, true},
             {PowerSourcePolicy::acOnly, CurrentPowerSource::ac, true},
             {PowerSourcePolicy::acOnly, CurrentPowerSource::battery, false},
             {PowerSourcePolicy::acOnly, CurrentPowerSource::unknown, false},
             {PowerSourcePolicy::batteryOnly, CurrentPowerSource::ac, false},
             {PowerSourcePolicy::batteryOnly, CurrentPowerSource::battery, true},
             {PowerSourcePolicy::batteryOnly, CurrentPowerSource::unknown, false},
         }) {
        always.powerSourcePolicy = policy;
        power->status = {.source = source};
        const auto evaluation = coordinator.evaluate(always, at(0));
        SCOPED_TRACE(std::string(rawValue(policy)) + " on " + std::string(rawValue(source)));
        if (isAllowed) {
            EXPECT_EQ(evaluation.snapshot.lastDecisionReason, Reason::active);
            EXPECT_TRUE(isHeld());
        } else {
            expectStopped(evaluation, Reason::powerSourceMismatch, true, 0);
        }
    }
}

struct CutoffCase {
    CurrentPowerSource source;
    std::optional<std::int64_t> percent;
    std::optional<std::int64_t> cutoff;
    Reason expected;
};

TEST_F(RuntimeCoordinatorTest, TheCutoffIgnoresSourceAndCharging) {
    for (const auto& [source, percent, cutoff, expected] : std::initializer_list<CutoffCase>{
             {CurrentPowerSource::battery, 20, 20, Reason::batteryCutoffReached},
             {CurrentPowerSource::battery, 21, 20, Reason::active},
             {CurrentPowerSource::battery, {}, 20, Reason::active},
             {CurrentPowerSource::battery, 1, {}, Reason::active},
             {CurrentPowerSource::ac, 15, 20, Reason::batteryCutoffReached},
             {CurrentPowerSource::ac, 104, 100, Reason::active},
         }) {
        power->status = {.source = source, .batteryPercent = percent, .isCharging = true};
        always.batteryCutoffPercent = cutoff;
        const auto evaluation = coordinator.evaluate(always, at(0));
        EXPECT_EQ(evaluation.snapshot.lastDecisionReason, expected) << percent.value_or(-1);
        EXPECT_EQ(isHeld(), expected == Reason::active);
    }
}

TEST_F(RuntimeCoordinatorTest, AnInvalidConfigurationLeavesAnActiveAssertionUntouched) {
    coordinator.evaluate(always, at(0));
    const auto before = saved();
    process.trigger.query = "  ";
    EXPECT_THROW(coordinator.evaluate(process, at(1)), TavoValidationError);
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(saved(), before);
    EXPECT_THAT(*log, ElementsAre("start /usr/bin/caffeinate -i -s"));
}

TEST_F(RuntimeCoordinatorTest, AlwaysModeStaysActiveWithoutAProcessScan) {
    for (const int seconds : {0, 60}) {
        const auto evaluation = coordinator.evaluate(always, at(seconds));
        EXPECT_EQ(evaluation.snapshot, (RuntimeSnapshot{.isEnabled = true,
                                                        .isWakeAssertionActive = true,
                                                        .lastEvaluationDate = at(seconds),
                                                        .lastDecisionReason = Reason::active}));
        EXPECT_EQ(evaluation.suggestedNextEvaluationInterval, 60.0);
    }
    EXPECT_THAT(*log, ElementsAre("start /usr/bin/caffeinate -i -s"));
    EXPECT_EQ(table->timesRead, 0);
}

TEST_F(RuntimeCoordinatorTest, AnActiveSnapshotListsTheMatchesInTheWatchersOrder) {
    runCodex();
    const auto evaluation = coordinator.evaluate(process, at(0));
    EXPECT_EQ(evaluation.snapshot.lastDecisionReason, Reason::active);
    EXPECT_EQ(evaluation.snapshot.matchedProcesses, codexMatches);
    EXPECT_EQ(saved(), evaluation.snapshot);
}

TEST_F(RuntimeCoordinatorTest, WhenTheProcessHasEndedNothingIsHeld) {
    runCodex();
    coordinator.evaluate(process, at(0));
    table->processes.clear();
    expectStopped(coordinator.evaluate(process, at(60)), Reason::noMatchingProcess, true, 60);
}

TEST_F(RuntimeCoordinatorTest, OutcomesBeforeTheTriggerDoNotScan) {
    coordinator.evaluate({}, at(0));
    process.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    coordinator.evaluate(process, at(1));
    process.powerSourcePolicy = PowerSourcePolicy::any;
    power->status.batteryPercent = 5;
    coordinator.evaluate(process, at(2));
    EXPECT_EQ(table->timesRead, 0);
}

TEST_F(RuntimeCoordinatorTest, ValidationFixesTheSessionLimitAndTheActivityRequirement) {
    runCodex();
    process.maxAwakeDuration = MaxAwakeDuration::oneHour;
    process.trigger.requiresActivity = true;
    for (const int seconds : {0, 3600, 100000}) {
        const auto evaluation = coordinator.evaluate(process, at(seconds));
        EXPECT_EQ(evaluation.snapshot.lastDecisionReason, Reason::active);
        EXPECT_EQ(evaluation.suggestedNextEvaluationInterval, 60.0);
    }
}

TEST_F(RuntimeCoordinatorTest, WithoutAStoreNothingIsWritten) {
    RuntimeCoordinator forgetful(power, std::make_shared<ProcessWatcher>(table),
                                 std::make_shared<WakeController>(runner, sleep), nullptr);
    EXPECT_EQ(forgetful.evaluate(always, at(0)).snapshot.lastDecisionReason, Reason::active);
    EXPECT_EQ(forgetful.stop(at(1)).snapshot.lastDecisionReason, Reason::disabled);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "Tavo"));
}

TEST_F(RuntimeCoordinatorTest, StoppingIsDisabledWhateverTheConfiguration) {
    coordinator.evaluate(always, at(0));
    expectStopped(coordinator.stop(at(5)), Reason::disabled, false, 5);
}

TEST_F(RuntimeCoordinatorTest, AFailedProcessScanChangesNothing) {
    runCodex();
    coordinator.evaluate(process, at(0));
    const auto before = saved();
    table->failure = std::make_exception_ptr(ProcessWatcherError::invalidPSOutputLine("?"));
    EXPECT_THROW(coordinator.evaluate(process, at(60)), ProcessWatcherError);
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(saved(), before);
}

TEST_F(RuntimeCoordinatorTest, AFailedActivationPersistsNothing) {
    runner->failure = std::make_exception_ptr(WakeControlError::commandFailed("no."));
    EXPECT_THROW(coordinator.evaluate(always, at(0)), WakeControlError);
    EXPECT_EQ(saved(), RuntimeSnapshot::idle());
    EXPECT_FALSE(isHeld());
}

TEST_F(RuntimeCoordinatorTest, AFailedWriteLeavesTheWakeStateChanged) {
    folder.write("Tavo", "a file in the folder's place");
    EXPECT_THROW(coordinator.evaluate(always, at(0)), std::system_error);
    EXPECT_TRUE(isHeld());
}

TEST_F(RuntimeCoordinatorTest, AFailedReleaseIsReportedAndKeepsTheSession) {
    always.watchMode = WatchMode::closed;
    always.maxAwakeDuration = MaxAwakeDuration::oneHour;
    coordinator.evaluateAsGiven(always, at(0));
    sleep->failure = "no answer.";
    EXPECT_THROW(coordinator.stop(at(100)), WakeControlError);
    sleep->failure.reset();
    // The session still counts from its first activation: 20 seconds are left of the hour.
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(3580)).suggestedNextEvaluationInterval, 20.0);
}

// The session limit and the activity requirement: switched off by validation, kept whole in the engine.

TEST_F(RuntimeCoordinatorTest, TheNextEvaluationLandsOnTheSessionLimit) {
    always.maxAwakeDuration = MaxAwakeDuration::oneHour;
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(0)).suggestedNextEvaluationInterval, 60.0);
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(3570)).suggestedNextEvaluationInterval, 30.0);
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(3599)).suggestedNextEvaluationInterval, 1.0);
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(4000)).suggestedNextEvaluationInterval, 1.0);
}

TEST_F(RuntimeCoordinatorTest, AStopBeginsANewSession) {
    always.maxAwakeDuration = MaxAwakeDuration::oneHour;
    coordinator.evaluateAsGiven(always, at(0));
    coordinator.stop(at(3500));
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(3590)).suggestedNextEvaluationInterval, 60.0);
}

TEST_F(RuntimeCoordinatorTest, TheSessionLimitIsNotEnforcedInAlwaysMode) {
    always.maxAwakeDuration = MaxAwakeDuration::oneHour;
    coordinator.evaluateAsGiven(always, at(0));
    EXPECT_EQ(coordinator.evaluateAsGiven(always, at(7200)).snapshot.lastDecisionReason, Reason::active);
}

TEST_F(RuntimeCoordinatorTest, AtTheSessionLimitMatchesAreHeldOffUntilNoneIsLeft) {
    runCodex();
    process.maxAwakeDuration = MaxAwakeDuration::oneHour;
    coordinator.evaluateAsGiven(process, at(0));
    EXPECT_EQ(coordinator.evaluateAsGiven(process, at(3599)).snapshot.lastDecisionReason, Reason::active);
    expectStopped(coordinator.evaluateAsGiven(process, at(3600)), Reason::maxDurationReached, true, 3600, codexMatches);
    expectStopped(coordinator.evaluateAsGiven(process, at(3660)), Reason::maxDurationReached, true, 3660, codexMatches);
    table->processes.clear();
    expectStopped(coordinator.evaluateAsGiven(process, at(3720)), Reason::noMatchingProcess, true, 3720);
    runCodex();
    EXPECT_EQ(coordinator.evaluateAsGiven(process, at(3780)).snapshot.lastDecisionReason, Reason::active);
}

TEST_F(RuntimeCoordinatorTest, SwitchingOffOrStoppingEndsTheHoldOff) {
    process.maxAwakeDuration = MaxAwakeDuration::oneHour;
    auto switchedOff = process;
    switchedOff.isEnabled = false;
    runCodex();
    for (const bool byStop : {true, false}) {
        coordinator.evaluateAsGiven(process, at(0));
        EXPECT_EQ(coordinator.evaluateAsGiven(process, at(3600)).snapshot.lastDecisionReason,
                  Reason::maxDurationReached);
        byStop ? coordinator.stop(at(3601)) : coordinator.evaluateAsGiven(switchedOff, at(3601));
        EXPECT_EQ(coordinator.evaluateAsGiven(process, at(3602)).snapshot.lastDecisionReason, Reason::active);
        coordinator.stop(at(3603));
    }
}

TEST_F(RuntimeCoordinatorTest, AHoldOffSurvivesAPauseForThePowerSource) {
    runCodex();
    process.maxAwakeDuration = MaxAwakeDuration::oneHour;
    coordinator.evaluateAsGiven(process, at(0));
    coordinator.evaluateAsGiven(process, at(3600));
    process.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    coordinator.evaluateAsGiven(process, at(3660));
    process.powerSourcePolicy = PowerSourcePolicy::any;
    expectStopped(coordinator.evaluateAsGiven(process, at(3720)), Reason::maxDurationReached, true, 3720, codexMatches);
}

TEST_F(RuntimeCoordinatorTest, MatchesWithoutActivityAreNotEnoughWhenItIsRequired) {
    process.trigger.requiresActivity = true;
    runCodex(1);
    expectStopped(coordinator.evaluateAsGiven(process, at(0)), Reason::insufficientActivity, true, 0, codexMatches);
    runCodex(2);
    EXPECT_EQ(coordinator.evaluateAsGiven(process, at(60)).snapshot.lastDecisionReason, Reason::active);
    expectStopped(coordinator.evaluateAsGiven(process, at(120)), Reason::insufficientActivity, true, 120, codexMatches);
}

TEST_F(RuntimeCoordinatorTest, TheNextEvaluationIsAsSoonAsTheMonitorHasNews) {
    RuntimeCoordinator watching(power,
                                std::make_shared<ProcessWatcher>(table, ProcessWatcher::defaultActivityThreshold,
                                                                 std::unordered_set<std::int32_t>{},
                                                                 std::make_shared<WorkMonitor>(WorkRequirement{})),
                                std::make_shared<WakeController>(runner, sleep), store);
    process.trigger.requiresActivity = true;
    runCodex();
    EXPECT_EQ(watching.evaluateAsGiven(process, at(0)).suggestedNextEvaluationInterval, 30.0);
    EXPECT_EQ(watching.evaluateAsGiven(process, at(20)).suggestedNextEvaluationInterval, 10.0);
    const auto justBefore = at(30) - std::chrono::milliseconds{100};
    EXPECT_EQ(watching.evaluateAsGiven(process, justBefore).suggestedNextEvaluationInterval, 1.0)
        << "no more often than once a second";
    EXPECT_EQ(watching.evaluateAsGiven(process, at(31)).suggestedNextEvaluationInterval, 60.0)
        << "the end of the grace is further away than the ordinary rhythm";
}

} // namespace
} // namespace tavo
