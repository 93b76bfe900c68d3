#include "TavoControl/Explanation.h"

#include "Support/DescribedJson.h"
#include "TavoControl/PrintedLines.h"
#include "base/JsonCoding.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Reason = RuntimeDecisionReason;

class ExplanationTest : public ::testing::Test {
protected:
    ExplanationFacts facts;
    PrintedLines output;

    ExplanationTest() {
        auto& status = facts.status;
        status.now = *parseISO8601("2026-01-31T09:00:00Z");
        status.config.isEnabled = true;
        status.config.trigger = defaultRule(TriggerPreset::claudeCode);
        status.power = {.source = CurrentPowerSource::ac, .batteryPercent = 80};
        status.runningProcessID = 100;
        status.held = std::vector<HeldAssertion>{{.who = "tavo", .what = "idle:sleep", .pid = 101}};
        status.machineNoun = "computer";
        status.snapshot = {
            .isEnabled = true,
            .isWakeAssertionActive = true,
            .lastEvaluationDate = status.now,
            .lastDecisionReason = Reason::active,
            .matchedProcesses = {{.pid = 7, .executableName = "claude", .commandLine = "claude --key x"}},
            .lastError = {}};
        facts.trees = {{.pid = 7, .size = 4, .cpuPercent = 5.84}};
    }

    void decide(Reason reason) {
        facts.status.snapshot.lastDecisionReason = reason;
        facts.status.snapshot.isWakeAssertionActive = false;
        facts.status.held->clear();
        if (reason != Reason::insufficientActivity && reason != Reason::maxDurationReached) {
            facts.status.snapshot.matchedProcesses.clear();
        }
    }

    Explanation explanation() const { return Explanation(facts); }

    Json described() const { return describedJson("explain", Explanation(facts).json()); }

    std::vector<StepVerdict> verdicts() const {
        const auto subject = explanation();
        std::vector<StepVerdict> result;
        for (const auto& step : subject.steps()) {
            result.push_back(step.verdict);
        }
        return result;
    }
};

constexpr auto passed = StepVerdict::passed;
constexpr auto decided = StepVerdict::decided;
constexpr auto notReached = StepVerdict::notReached;

TEST_F(ExplanationTest, OfAComputerThatIsKeptAwakeTheTriggerHasDecided) {
    EXPECT_THAT(explanation().lines(output.console(), std::nullopt),
                ElementsAre("keeping computer awake: claude is running", "  switch   keeping awake is switched on",
                            "  power    on ac; any source is allowed", "  battery  at 80%; cutoff at 20%",
                            "> trigger  claude code: matches claude (process id 7, a tree of 4, 5.8% of a core)",
                            "  lid      open; no helper is needed", "  held     idle:sleep (process id 101)",
                            "it may sleep when claude (process id 7) has ended, or at 20% of battery."));
    EXPECT_THAT(verdicts(), ElementsAre(passed, passed, passed, decided, passed, passed));
}

TEST_F(ExplanationTest, StepsAfterTheOneThatRefusedAreNotReached) {
    facts.status.config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    decide(Reason::powerSourceMismatch);
    EXPECT_THAT(explanation().lines(output.console(), std::nullopt),
                ElementsAre("waiting for battery: unplug to start", "  switch   keeping awake is switched on",
                            "> power    on ac; only battery is allowed",
                            "  battery  at 80%; cutoff at 20% (not reached)", "  trigger  claude code (not reached)",
                            "  lid      open; no helper is needed (not reached)", "  held     nothing (not reached)",
                            "unplug it, or allow any source: tavoctl set powerSourcePolicy any."));
}

TEST_F(ExplanationTest, EveryReasonHasItsStepAndItsSentence) {
    facts.status.config.isEnabled = false;
    decide(Reason::disabled);
    EXPECT_THAT(verdicts(), ElementsAre(decided, notReached, notReached, notReached, notReached, notReached));
    EXPECT_EQ(explanation().change(), "tavoctl enable switches keeping awake on.");

    facts.status.config.isEnabled = true;
    decide(Reason::batteryCutoffReached);
    EXPECT_THAT(verdicts(), ElementsAre(passed, passed, decided, notReached, notReached, notReached));
    EXPECT_EQ(explanation().change(), "charge it above 20%, or lower the cutoff: tavoctl set batteryCutoffPercent.");

    decide(Reason::noMatchingProcess);
    EXPECT_THAT(verdicts(), ElementsAre(passed, passed, passed, decided, notReached, notReached));
    EXPECT_EQ(explanation().steps()[3].text, "claude code: no process matches");
    EXPECT_EQ(explanation().change(), "start claude code, or choose another trigger: tavoctl preset, tavoctl match.");

    facts.status.config.watchMode = WatchMode::both;
    facts.helper = PrivilegedHelperInstallState::notInstalled;
    decide(Reason::error);
    facts.status.snapshot.lastError = WakeControlError::closedLidRequiresPrivilege().description();
    EXPECT_THAT(verdicts(), ElementsAre(passed, passed, passed, passed, decided, notReached));
    EXPECT_EQ(explanation().steps()[4].text, "open and closed; the helper is not installed");
    EXPECT_THAT(explanation().change(), HasSubstr("tavoctl helper install"));

    facts.status.snapshot.lastError = "access denied.";
    EXPECT_THAT(verdicts(), ElementsAre(passed, passed, passed, passed, passed, decided));
    EXPECT_EQ(explanation().steps()[5].text, "nothing; the evaluation failed: access denied.");
    EXPECT_EQ(explanation().change(), "tavoctl doctor tells what is missing.");

    decide(Reason::idle);
    EXPECT_THAT(verdicts(), ElementsAre(passed, notReached, notReached, notReached, notReached, notReached));
}

TEST_F(ExplanationTest, AStepThatAnOptionDecidesIsNotChangedByASetting) {
    facts.overrides.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    facts.status.config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    decide(Reason::powerSourceMismatch);
    EXPECT_EQ(explanation().change(), "unplug it, or start the run without --power.");
    facts.overrides.trigger = facts.status.config.trigger;
    decide(Reason::noMatchingProcess);
    EXPECT_EQ(explanation().change(), "start claude code, or start the run with another trigger.");
}

TEST_F(ExplanationTest, WithoutARunningTavoItTellsWhatOneWouldDecide) {
    facts.status.runningProcessID.reset();
    facts.status.held->clear();
    EXPECT_EQ(explanation().headline(),
              (RuntimeStatusCopy{"not running", "a running tavo would keep this computer awake: claude is running"}));
    EXPECT_EQ(explanation().change(), "start tavo or tavoctl run to keep it awake.");
    decide(Reason::noMatchingProcess);
    EXPECT_EQ(explanation().headline().detail,
              "a running tavo would say: waiting for claude code, starts when claude code runs");
    EXPECT_EQ(described()["awake"], false);
}

TEST_F(ExplanationTest, ATavoThatHasOnlyJustStartedEvaluatesAtOnceIfItIsSwitchedOn) {
    facts.status.snapshot = RuntimeSnapshot::idle();
    facts.status.config.isEnabled = true;
    EXPECT_EQ(explanation().change(), "nothing has been evaluated yet; the first evaluation is under way.");
    facts.status.config.isEnabled = false;
    EXPECT_EQ(explanation().change(), "nothing has been evaluated yet; tavoctl enable switches keeping awake on.");
}

TEST_F(ExplanationTest, AStoppedTavoIsContinued) {
    facts.status.isStopped = true;
    EXPECT_EQ(explanation().headline().title, "stopped");
    EXPECT_EQ(explanation().change(), "fg, or kill -CONT 100, continues it.");
}

TEST_F(ExplanationTest, WithAWorkRequirementTheVerdictOnEachTreeIsShown) {
    facts.activity.emplace();
    facts.activity->measuredAt = facts.status.now;
    facts.activity->trees = {{.pid = 7, .executableName = "claude", .verdict = WorkVerdict::membersChanged}};
    EXPECT_THAT(explanation().steps()[3].text, HasSubstr("5.8% of a core, works: its processes changed)"));
    facts.activity->trees.front().verdict = WorkVerdict::idle;
    EXPECT_THAT(explanation().steps()[3].text, HasSubstr(", idle)"));
    EXPECT_TRUE(described()["steps"][3]["values"].contains("activity"));
}

TEST_F(ExplanationTest, JsonHasEachStepWithItsValuesAndNoCommandLine) {
    const auto json = described();
    EXPECT_EQ(json["running"], true);
    EXPECT_EQ(json["awake"], true);
    EXPECT_EQ(json["reason"], "active");
    EXPECT_EQ(json["processID"], 100);
    ASSERT_EQ(json["steps"].size(), 6U);
    EXPECT_EQ(json["steps"][0], parseJson(R"({"step":"masterSwitch","verdict":"passed",
        "text":"keeping awake is switched on","values":{"isEnabled":true}})"));
    EXPECT_EQ(json["steps"][1]["values"], parseJson(R"({"source":"ac","policy":"any"})"));
    EXPECT_EQ(json["steps"][2]["values"], parseJson(R"({"percent":80,"cutoffPercent":20})"));
    EXPECT_EQ(json["steps"][3]["values"]["matches"],
              parseJson(R"([{"pid":7,"executableName":"claude","treeSize":4,"cpuPercent":5.84}])"));
    EXPECT_EQ(json["steps"][4]["values"], parseJson(R"({"watchMode":"open","helper":null})"));
    EXPECT_EQ(json["steps"][5]["values"]["held"], parseJson(R"([{"what":"idle:sleep","pid":101}])"));
    EXPECT_EQ(json.dump().find("--key"), std::string::npos);
}

TEST_F(ExplanationTest, NoLineIsLongerThanTheTerminalSaveForALongWord) {
    for (const std::size_t width : {20U, 29U, 30U, 40U, 80U}) {
        for (const auto& line : explanation().lines(output.console(), width)) {
            EXPECT_LE(line.size(), width) << line;
        }
    }
}

TEST_F(ExplanationTest, ANameCannotSteerTheTerminal) {
    facts.status.snapshot.matchedProcesses.front().executableName = "a\x1B[2J";
    for (const auto& line : explanation().lines(output.console(), std::nullopt)) {
        EXPECT_EQ(line.find('\x1B'), std::string::npos) << line;
    }
}

} // namespace
} // namespace tavo
