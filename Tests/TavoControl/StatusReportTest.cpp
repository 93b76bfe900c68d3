#include "StatusReport.h"

#include "Support/CapturedStream.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::HasSubstr;
using testing::Not;

class StatusReportTest : public testing::Test {
protected:
    CapturedStream stream;
    StatusFacts facts;

    StatusReportTest() {
        facts.now = *parseISO8601("2026-01-31T09:05:12Z");
        facts.config.isEnabled = true;
        facts.snapshot = {.isEnabled = true,
                          .isWakeAssertionActive = true,
                          .lastEvaluationDate = parseISO8601("2026-01-31T09:05:00Z"),
                          .lastDecisionReason = RuntimeDecisionReason::active};
        facts.power = {.source = CurrentPowerSource::ac, .batteryPercent = 80};
        facts.runningProcessID = 100;
        facts.held = {{{.who = "tavo", .what = "sleep:idle", .pid = 101}}};
        facts.machineNoun = "computer";
    }

    std::string text() const {
        return fmt::format("{}", fmt::join(StatusReport(facts).lines(Console(stream.get())), "\n"));
    }
    Json json() const { return StatusReport(facts).json(); }
};

TEST_F(StatusReportTest, WhatIsHeldAsPlannedIsSaid) {
    EXPECT_EQ(text(), "keeping computer awake: always on\n"
                      "  tavo       running (process id 100)\n"
                      "  evaluated  12 seconds ago\n"
                      "  held       sleep:idle (process id 101), as planned\n"
                      "  power      ac 80%");
    EXPECT_TRUE(StatusReport(facts).isKeepingAwake());
    EXPECT_EQ(json().at("planned"), "idle:sleep");
    EXPECT_EQ(json().at("ageSeconds"), 12);
    EXPECT_FALSE(json().contains("notice"));
}

TEST_F(StatusReportTest, LessThanPlannedIsSaidWithWhatHelps) {
    facts.held->front().what = "idle";
    EXPECT_THAT(text(), HasSubstr("less is held than planned: sleep was refused"));
    EXPECT_THAT(text(), HasSubstr("sudo tavoctl run"));
    EXPECT_THAT(text(), Not(HasSubstr("as planned")));
}

TEST_F(StatusReportTest, OnBatteryIdleAloneIsThePlan) {
    facts.power.source = CurrentPowerSource::battery;
    facts.held->front().what = "idle";
    EXPECT_THAT(text(), HasSubstr("idle (process id 101), as planned"));
    EXPECT_EQ(json().at("planned"), "idle");
}

TEST_F(StatusReportTest, ALostLockIsNotCalledAwake) {
    facts.held->clear();
    EXPECT_FALSE(StatusReport(facts).isKeepingAwake());
    EXPECT_THAT(text(), testing::StartsWith("not awake: "));
    EXPECT_THAT(text(), HasSubstr("the lock is gone"));
    EXPECT_EQ(json().at("keepingAwake"), false);
}

TEST_F(StatusReportTest, WithoutARunningTavoNothingIsClaimed) {
    facts.runningProcessID.reset();
    facts.held->clear();
    EXPECT_THAT(text(), testing::StartsWith("not running: tavo does not keep this computer awake"));
    EXPECT_THAT(text(), HasSubstr("held       nothing, as planned"));
    EXPECT_FALSE(json().contains("processID"));
    EXPECT_EQ(json().at("keepingAwake"), false);
}

TEST_F(StatusReportTest, ALeftOverLockIsPointedOut) {
    facts.runningProcessID.reset();
    EXPECT_THAT(text(), HasSubstr("no tavo is running, yet a lock of its is held"));
}

TEST_F(StatusReportTest, ASystemThatCannotBeAskedIsNamed) {
    facts.held.reset();
    facts.heldError = "there is no system message bus";
    EXPECT_THAT(text(), HasSubstr("held       unknown: there is no system message bus"));
    EXPECT_FALSE(StatusReport(facts).isKeepingAwake());
    EXPECT_EQ(json().at("heldError"), "there is no system message bus");
    EXPECT_FALSE(json().contains("held"));
}

TEST_F(StatusReportTest, TheMacsAssertionTypesAreNotComparedWordByWord) {
    facts.held = {{{.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 101},
                   {.who = "caffeinate", .what = "PreventSystemSleep", .pid = 101}}};
    EXPECT_THAT(text(), HasSubstr("as planned"));
}

TEST_F(StatusReportTest, WatchedProcessesAreListedWithControlsVisible) {
    facts.snapshot.matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "codex \x1B[2J"}};
    EXPECT_THAT(text(), HasSubstr("  watches    codex ^[[2J (process id 7)"));
}

TEST_F(StatusReportTest, AWaitingTavoHoldsNothingAsPlanned) {
    facts.config.trigger = defaultRule(TriggerPreset::codex);
    facts.snapshot.isWakeAssertionActive = false;
    facts.snapshot.lastDecisionReason = RuntimeDecisionReason::noMatchingProcess;
    facts.held->clear();
    EXPECT_THAT(text(), testing::StartsWith("waiting for codex: starts when codex runs"));
    EXPECT_THAT(text(), HasSubstr("nothing, as planned"));
}

TEST(SpokenDuration, TheLargestUnitIsSaid) {
    EXPECT_EQ(spokenDuration(0), "0 seconds");
    EXPECT_EQ(spokenDuration(1), "1 second");
    EXPECT_EQ(spokenDuration(59), "59 seconds");
    EXPECT_EQ(spokenDuration(60), "1 minute");
    EXPECT_EQ(spokenDuration(7199), "1 hour");
    EXPECT_EQ(spokenDuration(200000), "2 days");
}

} // namespace
} // namespace tavo
