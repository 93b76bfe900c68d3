#include "TavoControl/StatusCommand.h"

#include "Support/DescribedJson.h"
#include "Support/WaitUntil.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/LockHolder.h"
#include "base/JsonCoding.h"
#include "system/ProcessStart.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tavo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class StatusCommandTest : public CommandTest {
protected:
    std::string run(bool json = false) {
        return printed([&] { EXPECT_EQ(printStatus({.json = json}, *store, platform), ExitStatus::success); });
    }

    std::vector<std::int32_t> heldPIDs() {
        std::vector<std::int32_t> pids;
        const auto object = describedJson("status", run(true));
        for (const auto& assertion : object.at("held")) {
            pids.push_back(assertion["pid"]);
        }
        return pids;
    }

    void saveAwake() const {
        RuntimeSnapshot snapshot;
        snapshot.isEnabled = true;
        snapshot.isWakeAssertionActive = true;
        snapshot.lastDecisionReason = RuntimeDecisionReason::active;
        snapshot.lastEvaluationDate = std::chrono::system_clock::now();
        store->saveRuntimeSnapshot(snapshot);
    }
};

TEST_F(StatusCommandTest, OfAFreshFolderItSaysThatNothingRuns) {
    EXPECT_THAT(linesOf(run()),
                ElementsAre("not running: tavo does not keep this computer awake", "  tavo       not running",
                            "  evaluated  never", "  held       nothing, as planned", "  power      ac"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "asking writes nothing";
}

TEST_F(StatusCommandTest, ARunningTavoIsFoundByItsLockAndItsChildrensLocksCount) {
    const LockHolder tavo(store->paths().lockURL());
    saveAwake();
    processes->processes = {{.pid = tavo.pid(), .parentPID = 1}, {.pid = 500, .parentPID = tavo.pid()}};
    held->held = {{.who = "tavo", .what = "sleep:idle", .pid = 500}};
    const auto object = describedJson("status", run(true));
    EXPECT_EQ(object["running"], true);
    EXPECT_EQ(object["processID"], tavo.pid());
    EXPECT_EQ(object["keepingAwake"], true);
    EXPECT_EQ(object["title"], "keeping computer awake");
    EXPECT_THAT(linesOf(run()), Contains("  held       sleep:idle (process id 500), as planned"));
}

TEST_F(StatusCommandTest, TheNoticeInTheLockOfTheRunningTavoIsShown) {
    const LockHolder tavo(store->paths().lockURL(), R"({"assertionNotice": "the desktop refused"})");
    saveAwake();
    processes->processes = {{.pid = tavo.pid(), .parentPID = 1}};
    held->held = {{.who = "tavo", .what = "sleep:idle", .pid = tavo.pid()}};
    const auto text = linesOf(run());
    EXPECT_THAT(text, Contains(fmt::format("  held       sleep:idle (process id {})", tavo.pid())));
    EXPECT_EQ(text.back(), "  notice     the desktop refused");
}

TEST_F(StatusCommandTest, OnlyLocksOfTheRunningTavoCount) {
    const LockHolder tavo(store->paths().lockURL());
    saveAwake();
    processes->processes = {
        {.pid = 500, .parentPID = tavo.pid()}, {.pid = 600, .parentPID = 599}, {.pid = 700, .parentPID = 1}};
    held->held = {{.who = "tavo", .what = "idle", .pid = 500},
                  {.who = "tavo", .what = "idle", .pid = 600},
                  {.who = "tavo", .what = "idle", .pid = 700},
                  {.who = "tavo", .what = "idle", .pid = 800},
                  {.who = "tavo", .what = "idle", .pid = tavo.pid()},
                  {.who = "player", .what = "idle", .pid = 500},
                  {.who = "caffeinate", .what = "PreventSystemSleep", .pid = 500}};
    EXPECT_THAT(heldPIDs(), ElementsAre(500, tavo.pid(), 500));
}

TEST_F(StatusCommandTest, AStrangersLockUnderTavosNameIsNotTavos) {
    const auto own = static_cast<std::uint32_t>(geteuid());
    // The names of Tavo's own programs are blanked in the table.
    processes->processes = {{.pid = 700, .parentPID = 1},
                            {.pid = 701, .parentPID = 1, .executableName = "player"},
                            {.pid = 702, .parentPID = 1}};
    held->held = {{.who = "tavo", .what = "idle", .pid = 700, .uid = own},
                  {.who = "tavo", .what = "idle", .pid = 701, .uid = own},
                  {.who = "tavo", .what = "idle", .pid = 702, .uid = own + 1},
                  {.who = "tavo", .what = "idle", .pid = 703, .uid = own}};
    EXPECT_THAT(heldPIDs(), ElementsAre(700));
    held->held.erase(held->held.begin());
    EXPECT_THAT(linesOf(run()), Contains("  held       nothing, as planned"));
}

TEST_F(StatusCommandTest, WhereTheSystemsOwnToolHoldsOnlyTheOneThatWasNotedIsLeftOver) {
    platform.orphanedAssertion = [] { return std::optional<pid_t>(700); };
    processes->processes = {{.pid = 700, .parentPID = 1, .executableName = "caffeinate"},
                            {.pid = 701, .parentPID = 1, .executableName = "caffeinate"}};
    held->held = {{.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 700},
                  {.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 701}};
    EXPECT_THAT(heldPIDs(), ElementsAre(700));
    platform.orphanedAssertion = [] { return std::optional<pid_t>(); };
    EXPECT_THAT(heldPIDs(), ::testing::IsEmpty());
}

TEST_F(StatusCommandTest, AListInOtherWordsThanThePlansIsNotComparedWithIt) {
    const LockHolder tavo(store->paths().lockURL());
    saveAwake();
    processes->processes = {{.pid = 500, .parentPID = tavo.pid()}};
    held->held = {{.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 500}};
    EXPECT_THAT(run(), HasSubstr("less is held than planned"));
    held->areInPlanWords = false;
    EXPECT_THAT(run(), HasSubstr("PreventUserIdleSystemSleep (process id 500), as planned"));
}

TEST_F(StatusCommandTest, JsonSteersNoTerminalAndSaysTheSame) {
    const LockHolder tavo(store->paths().lockURL());
    saveAwake();
    const std::string what = "idle \u009B2J\u202E\x7F\u2028";
    processes->processes = {{.pid = 500, .parentPID = tavo.pid()}};
    held->held = {{.who = "tavo", .what = what, .pid = 500}};
    const auto text = run(true);
    EXPECT_THAT(text, HasSubstr("idle \\u009b2J\\u202e\\u007f\\u2028"));
    EXPECT_EQ(describedJson("status", text).at("held").at(0).at("what"), what);
}

TEST_F(StatusCommandTest, WithoutATavoOnlyLeftoversCount) {
    processes->processes = {{.pid = 600, .parentPID = 599}, {.pid = 700, .parentPID = 1}};
    held->held = {{.who = "tavo", .what = "idle", .pid = 600},
                  {.who = "tavo", .what = "idle", .pid = 700},
                  {.who = "player", .what = "idle", .pid = 700}};
    EXPECT_THAT(heldPIDs(), ElementsAre(700));
    EXPECT_THAT(linesOf(run()), Contains("  notice     no tavo is running, yet a lock of tavo is still held: end the "
                                         "process that holds it."));
}

TEST_F(StatusCommandTest, AStoppedTavoIsNotCalledAsPlanned) {
    const LockHolder tavo(store->paths().lockURL());
    saveAwake();
    held->held = {{.who = "tavo", .what = "sleep:idle", .pid = tavo.pid()}};
    kill(tavo.pid(), SIGSTOP);
    EXPECT_TRUE(waitUntil([&] { return isProcessStopped(tavo.pid()); }));
    const auto pid = std::to_string(tavo.pid());
    const auto lines = linesOf(run());
    const auto object = describedJson("status", run(true));
    kill(tavo.pid(), SIGCONT);
    EXPECT_EQ(lines.front(), "stopped: tavo decides nothing until it is continued; its locks stay held");
    EXPECT_THAT(lines, Contains("  held       sleep:idle (process id " + pid + ")"));
    EXPECT_THAT(lines,
                Contains("  notice     tavo is stopped, as by Ctrl-Z: fg or kill -CONT " + pid + " continues it."));
    EXPECT_EQ(object["stopped"], true);
    EXPECT_EQ(object["keepingAwake"], true) << "that is so for now";
}

TEST_F(StatusCommandTest, ASwitchedOffTavoSaysHowToSwitchItOn) {
    const LockHolder tavo(store->paths().lockURL());
    store->saveRuntimeSnapshot({.lastDecisionReason = RuntimeDecisionReason::disabled});
    EXPECT_EQ(describedJson("status", run(true))["notice"],
              "keeping awake is switched off (isEnabled); tavoctl enable switches it on.");
}

TEST_F(StatusCommandTest, AKilledTavosSnapshotIsNotTakenForTheTruth) {
    saveAwake();
    const auto object = describedJson("status", run(true));
    EXPECT_EQ(object["keepingAwake"], false);
    EXPECT_EQ(object["title"], "not running");
}

TEST_F(StatusCommandTest, ASystemThatCannotBeAskedIsSaid) {
    held->failure = std::make_exception_ptr(std::runtime_error("There is no system message bus"));
    EXPECT_THAT(linesOf(run()), Contains("  held       unknown: there is no system message bus."));
}

TEST_F(StatusCommandTest, WithoutTheProcessTableNobodysLocksAreTakenForTavos) {
    held->held = {{.who = "player", .what = "idle", .pid = 700}};
    processes->failure = std::make_exception_ptr(std::runtime_error("no table"));
    const auto object = describedJson("status", run(true));
    EXPECT_FALSE(object.contains("held"));
    EXPECT_EQ(object["heldError"], "no table.");
}

TEST_F(StatusCommandTest, AnUnusableConfigurationIsAnErrorAfterAllElseWasPrinted) {
    folder.write("config.json", "{");
    ::testing::internal::CaptureStdout();
    EXPECT_THROW(printStatus({}, *store, platform), ConfigurationError);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("  power      ac\n"));
    EXPECT_EQ(fileContent(store->paths().configURL()), "{");
}

TEST_F(StatusCommandTest, ADamagedStateFileCountsAsNoneAndStays) {
    folder.write("state.json", "{");
    EXPECT_THAT(linesOf(run()), Contains("  evaluated  never"));
    EXPECT_EQ(fileContent(store->paths().stateURL()), "{");
}

} // namespace
} // namespace tavo
