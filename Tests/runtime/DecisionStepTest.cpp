#include "runtime/DecisionStep.h"

#include "Support/FixedPowerEnvironment.h"
#include "Support/ScriptedProcessTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace tavo {
namespace {

class DecisionStepTest : public ::testing::Test {
protected:
    TimePoint now = *parseISO8601("2026-01-31T09:00:00Z");
    std::shared_ptr<FixedPowerEnvironment> power = std::make_shared<FixedPowerEnvironment>();
    std::shared_ptr<ScriptedProcessTable> processes = std::make_shared<ScriptedProcessTable>();
    AppConfig config;

    DecisionStepTest() { acceptAll(); }

    /// Makes a step speak against keeping awake.
    void refuse(DecisionStep step) {
        switch (step) {
        case DecisionStep::masterSwitch:
            config.isEnabled = false;
            break;
        case DecisionStep::powerSource:
            config.powerSourcePolicy = PowerSourcePolicy::acOnly;
            power->status.source = CurrentPowerSource::battery;
            break;
        case DecisionStep::batteryCutoff:
            config.batteryCutoffPercent = 50;
            power->status.batteryPercent = 50;
            break;
        case DecisionStep::trigger:
            processes->processes.clear();
            break;
        case DecisionStep::closedLid:
            config.watchMode = WatchMode::closed;
            break;
        case DecisionStep::assertion:
            break;
        }
    }

    void acceptAll() {
        config = AppConfig();
        config.isEnabled = true;
        config.trigger = defaultRule(TriggerPreset::codex);
        power->status = {.source = CurrentPowerSource::ac};
        processes->processes = {{.pid = 5, .executableName = "codex", .commandLine = "codex"}};
    }

    RuntimeSnapshot decision(bool coversClosedLid = false) const {
        return rehearsedDecision(config, now, power, processes, coversClosedLid);
    }
};

TEST_F(DecisionStepTest, WhatWouldBeDecidedIsTheCoordinatorsOwnDecision) {
    const auto snapshot = decision();
    EXPECT_EQ(snapshot.lastDecisionReason, RuntimeDecisionReason::active);
    EXPECT_EQ(snapshot.matchedProcesses.size(), 1U);
    EXPECT_EQ(decidingStep(snapshot), DecisionStep::trigger);
}

TEST_F(DecisionStepTest, EachStepThatRefusesIsTheOneThatDecides) {
    for (const auto step : {DecisionStep::masterSwitch, DecisionStep::powerSource, DecisionStep::batteryCutoff,
                            DecisionStep::trigger, DecisionStep::closedLid}) {
        acceptAll();
        refuse(step);
        EXPECT_EQ(decidingStep(decision()), step) << rawValue(step);
    }
}

TEST_F(DecisionStepTest, OfTwoStepsThatRefuseTheFirstInTheirOrderDecides) {
    const auto steps = allCases<DecisionStep>();
    for (const auto first : steps) {
        for (const auto second : steps) {
            if (first < second && second != DecisionStep::assertion) {
                acceptAll();
                refuse(first);
                refuse(second);
                EXPECT_EQ(decidingStep(decision()), first) << rawValue(first) << " and " << rawValue(second);
            }
        }
    }
}

TEST_F(DecisionStepTest, AHelperThatIsReadyCoversTheLid) {
    refuse(DecisionStep::closedLid);
    EXPECT_EQ(decision(true).lastDecisionReason, RuntimeDecisionReason::active);
}

TEST_F(DecisionStepTest, AFailureIsASnapshotWithItsText) {
    processes->failure = std::make_exception_ptr(std::runtime_error("no table"));
    const auto snapshot = decision();
    EXPECT_EQ(snapshot.lastDecisionReason, RuntimeDecisionReason::error);
    EXPECT_EQ(snapshot.lastError, "no table.");
    EXPECT_EQ(decidingStep(snapshot), DecisionStep::assertion);
}

TEST_F(DecisionStepTest, BeforeAnythingIsEvaluatedNothingHasDecided) {
    EXPECT_FALSE(decidingStep(RuntimeSnapshot::idle()));
}

} // namespace
} // namespace tavo
