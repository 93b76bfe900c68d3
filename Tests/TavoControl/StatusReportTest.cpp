#include "TavoControl/StatusReport.h"

#include "Support/DescribedJson.h"
#include "TavoControl/PrintedLines.h"
#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tavo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Held = std::vector<HeldAssertion>;

/// Tavo runs, keeps awake on AC power because codex runs, and holds what it planned.
StatusFacts heldAsPlanned() {
    StatusFacts facts;
    facts.now = *parseISO8601("2026-01-31T09:05:42Z");
    facts.config.isEnabled = true;
    facts.config.trigger = defaultRule(TriggerPreset::codex);
    facts.snapshot = {.isEnabled = true,
                      .isWakeAssertionActive = true,
                      .lastEvaluationDate = parseISO8601("2026-01-31T09:05:30Z"),
                      .lastDecisionReason = RuntimeDecisionReason::active,
                      .matchedProcesses = {{.pid = 77, .executableName = "codex", .commandLine = "codex exec"}}};
    facts.power = {.source = CurrentPowerSource::ac, .batteryPercent = 80};
    facts.runningProcessID = 4242;
    facts.held = Held{{.who = "tavo", .what = "sleep:idle", .pid = 4243}};
    facts.machineNoun = "computer";
    return facts;
}

std::vector<std::string> lines(StatusFacts facts) {
    return StatusReport(std::move(facts)).lines(PrintedLines().console());
}

Json json(StatusFacts facts) {
    return describedJson("status", StatusReport(std::move(facts)).json());
}

TEST(StatusReport, LocksHeldAsPlannedAreShownInFull) {
    EXPECT_THAT(lines(heldAsPlanned()),
                ElementsAre("keeping computer awake: codex is running", "  tavo       running (process id 4242)",
                            "  watches    codex exec (process id 77)", "  evaluated  12 seconds ago",
                            "  held       sleep:idle (process id 4243), as planned", "  power      ac 80%"));
}

TEST(StatusReport, HasTheseKeysWhenHeldAsPlanned) {
    const auto facts = heldAsPlanned();
    EXPECT_EQ(json(facts), Json({{"running", true},
                                 {"processID", 4242},
                                 {"keepingAwake", true},
                                 {"title", "keeping computer awake"},
                                 {"detail", "codex is running"},
                                 {"snapshot", facts.snapshot},
                                 {"power", {{"source", "ac"}, {"batteryPercent", 80}}},
                                 {"planned", "idle:sleep"},
                                 {"ageSeconds", 12},
                                 {"held", {{{"who", "tavo"}, {"what", "sleep:idle"}, {"pid", 4243}}}}}));
}

struct Comparison {
    std::string name;
    CurrentPowerSource source;
    bool isRunning;
    bool isActive;
    Held held;
    bool keepsAwake;
    std::string title;
    std::string planned;
    /// Empty for none.
    std::string notice;
};

Held lock(const std::string& what) {
    return {{.who = "tavo", .what = what, .pid = 4243}};
}

const std::string awake = "keeping computer awake";
const std::string lacksSleep = "less is held than planned: sleep was refused, or the power source has only just "
                               "changed; so the computer may still "
                               "be put to sleep by others. run sudo tavoctl run to hold it too.";
const std::string lacksBoth = "less is held than planned: idle and sleep were refused, or the power source has only "
                              "just changed; so the computer "
                              "may still be put to sleep by others. run sudo tavoctl run to hold them too.";
constexpr auto ac = CurrentPowerSource::ac;
constexpr auto battery = CurrentPowerSource::battery;
constexpr auto unknown = CurrentPowerSource::unknown;

const std::vector<Comparison> comparisons{
    {"both on ac", ac, true, true, lock("sleep:idle"), true, awake, "idle:sleep", ""},
    {"both in two locks", ac, true, true, {lock("idle")[0], lock("sleep")[0]}, true, awake, "idle:sleep", ""},
    {"more words than planned", ac, true, true, lock("shutdown:sleep:idle"), true, awake, "idle:sleep", ""},
    {"idle on battery", battery, true, true, lock("idle"), true, awake, "idle", ""},
    {"idle on unknown power", unknown, true, true, lock("idle"), true, awake, "idle", ""},
    {"more than needed on battery", battery, true, true, lock("sleep:idle"), true, awake, "idle", ""},
    {"sleep refused", ac, true, true, lock("idle"), true, awake, "idle:sleep", lacksSleep},
    {"something else held", ac, true, true, lock("shutdown"), true, awake, "idle:sleep", lacksBoth},
    {"lock gone",
     ac,
     true,
     true,
     {},
     false,
     "not awake",
     "idle:sleep",
     "the lock is gone; tavo takes a new one within seconds."},
    {"nothing wanted, nothing held", ac, true, false, {}, false, "waiting for codex", "", ""},
    {"nothing wanted, yet held", ac, true, false, lock("idle"), false, "waiting for codex", "",
     "more is held than the last evaluation wanted; it is being released."},
    {"not running", ac, false, false, {}, false, "not running", "", ""},
    {"killed while awake", ac, false, true, {}, false, "not running", "", ""},
    {"left over", ac, false, true, lock("idle"), false, "not running", "",
     "no tavo is running, yet a lock of tavo is still held: end the process that holds it."},
};

TEST(StatusReport, ComparesWhatIsHeldWithWhatWasPlanned) {
    for (const auto& row : comparisons) {
        SCOPED_TRACE(row.name);
        auto facts = heldAsPlanned();
        facts.power = {.source = row.source};
        facts.snapshot.isWakeAssertionActive = row.isActive;
        if (!row.isActive) {
            facts.snapshot.lastDecisionReason = RuntimeDecisionReason::noMatchingProcess;
            facts.snapshot.matchedProcesses.clear();
        }
        facts.held = row.held;
        if (!row.isRunning) {
            facts.runningProcessID.reset();
        }
        EXPECT_EQ(StatusReport(facts).isKeepingAwake(), row.keepsAwake);
        const auto object = json(facts);
        EXPECT_EQ(object["keepingAwake"], row.keepsAwake);
        EXPECT_EQ(object["title"], row.title);
        EXPECT_EQ(object["planned"], row.planned);
        EXPECT_EQ(object.value("notice", ""), row.notice);
        EXPECT_EQ(object.contains("processID"), row.isRunning);
        const auto text = lines(facts);
        EXPECT_TRUE(text.front().starts_with(row.title + ": ")) << text.front();
        EXPECT_EQ(text.back().starts_with("  notice "), !row.notice.empty()) << text.back();
        const auto heldLine =
            std::find_if(text.begin(), text.end(), [](const auto& line) { return line.starts_with("  held "); });
        ASSERT_NE(heldLine, text.end());
        EXPECT_EQ(heldLine->ends_with(", as planned"), row.notice.empty()) << *heldLine;
        if (row.held.empty()) {
            EXPECT_THAT(text, Contains(HasSubstr("  held       nothing")));
        }
    }
}

TEST(StatusReport, AListInOtherWordsThanThePlansIsNotComparedWordByWord) {
    auto facts = heldAsPlanned();
    facts.held = lock("PreventUserIdleSystemSleep");
    EXPECT_EQ(json(facts).value("notice", ""), lacksBoth);
    facts.isHeldInPlanWords = false;
    EXPECT_FALSE(json(facts).contains("notice"));
    EXPECT_THAT(lines(facts), Contains("  held       PreventUserIdleSystemSleep (process id 4243), as planned"));
}

TEST(StatusReport, ALostLockIsNotCalledAwake) {
    auto facts = heldAsPlanned();
    facts.held = Held();
    EXPECT_EQ(lines(facts).front(), "not awake: the last evaluation wanted this computer awake, but nothing is held");
}

TEST(StatusReport, ALockThatTheRunningTavoCouldNotHoldIsNeverAsPlanned) {
    auto facts = heldAsPlanned();
    facts.assertionNotice = "no service of this desktop has accepted.";
    const auto text = lines(facts);
    EXPECT_THAT(text, Contains("  held       sleep:idle (process id 4243)"));
    EXPECT_EQ(text.back(), "  notice     no service of this desktop has accepted.");
    EXPECT_EQ(json(facts)["notice"], "no service of this desktop has accepted.");
    facts.assertionNotice = "a\x1B[31m";
    EXPECT_EQ(lines(facts).back(), "  notice     a^[[31m");
}

TEST(StatusReport, WithoutTheSystemsListNothingIsClaimed) {
    auto facts = heldAsPlanned();
    facts.held.reset();
    facts.heldError = "there is no system message bus.";
    const auto text = lines(facts);
    EXPECT_EQ(text.front(), "uncertain: tavo means to keep this computer awake, but the system cannot be asked whether "
                            "anything is held");
    EXPECT_THAT(text, Contains("  held       unknown: there is no system message bus."));
    const auto object = json(facts);
    EXPECT_EQ(object["keepingAwake"], false);
    EXPECT_EQ(object["heldError"], "there is no system message bus.");
    EXPECT_FALSE(object.contains("held"));
    EXPECT_FALSE(object.contains("notice"));
}

TEST(StatusReport, ATavoThatDoesNotRunLeavesItsLastWords) {
    auto facts = heldAsPlanned();
    facts.runningProcessID.reset();
    facts.held = Held();
    EXPECT_THAT(lines(facts),
                ElementsAre("not running: tavo does not keep this computer awake", "  tavo       not running",
                            "  evaluated  12 seconds ago", "  last said  keeping computer awake: codex is running",
                            "  held       nothing, as planned", "  power      ac 80%"));
}

TEST(StatusReport, BeforeTheFirstEvaluationThereIsNoAge) {
    StatusFacts facts;
    facts.held = Held();
    facts.machineNoun = "mac";
    EXPECT_THAT(lines(facts),
                ElementsAre("not running: tavo does not keep this mac awake", "  tavo       not running",
                            "  evaluated  never", "  held       nothing, as planned", "  power      unknown"));
    EXPECT_FALSE(json(facts).contains("ageSeconds"));
}

TEST(StatusReport, AClockThatWasSetBackGivesNoNegativeAge) {
    auto facts = heldAsPlanned();
    facts.now = *facts.snapshot.lastEvaluationDate - std::chrono::hours(1);
    EXPECT_EQ(json(facts)["ageSeconds"], 0);
    EXPECT_THAT(lines(facts), Contains("  evaluated  0 seconds ago"));
}

TEST(StatusReport, ControlCharactersFromOutsideAreVisible) {
    auto facts = heldAsPlanned();
    facts.snapshot.matchedProcesses[0].commandLine = "a\x1B[31m\nb";
    facts.held = Held{{.who = "tavo", .what = "idle\x1B", .pid = 4243}};
    EXPECT_THAT(lines(facts), Contains("  watches    a^[[31m^Jb (process id 77)"));
    facts.snapshot.isWakeAssertionActive = false;
    facts.snapshot.lastDecisionReason = RuntimeDecisionReason::noMatchingProcess;
    facts.config.trigger = {.mode = TriggerMode::process, .query = "c\x1B[31md"};
    for (const auto& line : lines(facts)) {
        EXPECT_EQ(line.find_first_of("\x1B\n"), std::string::npos) << line;
    }
    EXPECT_EQ(lines(facts).front(), "waiting for c^[[31md: starts when c^[[31md runs");
}

TEST(StatusReport, SaysOfEachProgramWhetherItWorksAndWhenSleepingIsAllowed) {
    auto facts = heldAsPlanned();
    facts.activity = WorkActivity{.requirement = {},
                                  .measuredAt = facts.now,
                                  .trees = {{.pid = 77,
                                             .executableName = "codex",
                                             .cpuPercent = 0.21,
                                             .haveMembersChanged = false,
                                             .verdict = WorkVerdict::idle}},
                                  .lastWorkAt = facts.now - std::chrono::minutes{3}};
    EXPECT_THAT(lines(facts), Contains("  watches    codex exec (process id 77): idle, 0.2% of a core"));
    EXPECT_THAT(lines(facts), Contains("  work       idle for 3 minutes, sleeping allowed in 7"));
    EXPECT_EQ(json(facts).at("activity"), Json(*facts.activity));
    facts.activity->trees[0].verdict = WorkVerdict::busy;
    facts.activity->trees[0].cpuPercent = 12.34;
    EXPECT_THAT(lines(facts), Contains("  watches    codex exec (process id 77): works, 12.3% of a core"));
    EXPECT_THAT(lines(facts), ::testing::Not(Contains(HasSubstr("idle for"))));
}

} // namespace
} // namespace tavo
