#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include "Support/EventLog.h"
#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "Support/ScriptedSleepController.h"
#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr ProcessIdentity tavoProcess{100, 5000};
constexpr ProcessIdentity controlProcess{200, 6000};

class Keeper : public testing::Test {
protected:
    void SetUp() override {
        processes->start(tavoProcess);
        processes->start(controlProcess);
        restart();
    }

    /// A new helper over what the last one has left.
    void restart() {
        keeper.reset();
        timers = std::make_shared<ManualHelperTimers>();
        keeper = std::make_unique<OverrideKeeper>(
            setting, journal,
            OverrideKeeper::Surroundings{.processes = processes,
                                         .timers = timers,
                                         .isLidClosed = [this] { return isLidClosed; },
                                         .log = [this](const std::string& line) { lines.push_back(line); }});
    }

    void ask(const ProcessIdentity& owner, PMSetScope scope) { keeper->setSleepDisabled(owner, scope, true); }
    void askFor(uid_t user, const ProcessIdentity& owner, PMSetScope scope) {
        keeper->setSleepDisabled(owner, scope, true, user);
    }
    void giveBack(const ProcessIdentity& owner, PMSetScope scope) { keeper->setSleepDisabled(owner, scope, false); }

    std::vector<std::string> asked() { return std::exchange(*setting->log, {}); }

    TemporaryDirectory folder;
    std::filesystem::path file = folder.path() / "overrides.json";
    SleepOverrideJournal journal{file};
    std::shared_ptr<ScriptedSleepController> setting = std::make_shared<ScriptedSleepController>();
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<ManualHelperTimers> timers;
    bool isLidClosed = false;
    std::vector<std::string> lines;
    std::unique_ptr<OverrideKeeper> keeper;
};

TEST_F(Keeper, SwitchesAScopeOffAndOnAgain) {
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), ElementsAre("sleep off ac"));
    giveBack(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
}

TEST_F(Keeper, AsksForAScopeOnceHoweverManyWantIt) {
    ask(tavoProcess, PMSetScope::ac);
    ask(controlProcess, PMSetScope::ac);
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), ElementsAre("sleep off ac"));
    giveBack(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), IsEmpty());
    giveBack(controlProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
}

TEST_F(Keeper, EachScopeIsUndoneWithItsOwnProcess) {
    ask(tavoProcess, PMSetScope::ac);
    ask(controlProcess, PMSetScope::battery);
    asked();
    processes->end(controlProcess);
    EXPECT_THAT(asked(), ElementsAre("sleep on battery"));
    processes->end(tavoProcess);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, AProcessThatEndsTakesAllItsScopesWithIt) {
    ask(tavoProcess, PMSetScope::ac);
    ask(tavoProcess, PMSetScope::battery);
    asked();
    processes->end(tavoProcess);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac", "sleep on battery"));
}

TEST_F(Keeper, AProcessThatGaveEverythingBackIsNotWatchedAnyMore) {
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_TRUE(processes->isWatched(tavoProcess));
    giveBack(tavoProcess, PMSetScope::ac);
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, GivingBackWhatOneNeverHadChangesNothing) {
    ask(tavoProcess, PMSetScope::ac);
    asked();
    giveBack(controlProcess, PMSetScope::ac);
    giveBack(tavoProcess, PMSetScope::battery);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(Keeper, AProcessThatHasEndedGetsNothing) {
    EXPECT_THROW(ask({300, 7000}, PMSetScope::ac), WakeControlError);
    EXPECT_THROW(ask({tavoProcess.pid, tavoProcess.startTime + 1}, PMSetScope::ac), WakeControlError);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(Keeper, TheJournalIsWrittenBeforeSomethingIsSwitchedOff) {
    SleepOverrideRecord seen;
    setting->onCall = [&] { seen = journal.load(); };
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_EQ(seen, (SleepOverrideRecord{{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac}}));
}

TEST_F(Keeper, TheJournalForgetsAScopeOnlyOnceItIsSwitchedOnAgain) {
    ask(tavoProcess, PMSetScope::ac);
    SleepOverrideRecord seen;
    setting->onCall = [&] { seen = journal.load(); };
    giveBack(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(seen.scopesInForce, ElementsAre(PMSetScope::ac));
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Keeper, WhatCouldNotBeHadIsNotRemembered) {
    setting->failure = "no.";
    EXPECT_THROW(ask(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    asked();
    keeper->retry();
    EXPECT_THAT(asked(), ElementsAre("sleep on ac")) << "half of it may have been done";
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Keeper, AScopeThatCouldNotBeHadLeavesTheOthersAlone) {
    ask(tavoProcess, PMSetScope::ac);
    setting->failure = "no.";
    EXPECT_THROW(ask(tavoProcess, PMSetScope::battery), WakeControlError);
    setting->failure.reset();
    keeper->retry();
    EXPECT_EQ(journal.load(), (SleepOverrideRecord{{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac}}));
    EXPECT_TRUE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, WhatCannotBeHadAnyMoreDoesNotKeepWhatNobodyWants) {
    journal.save({{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac, PMSetScope::all}});
    setting->onCall = [this] {
        setting->failure =
            setting->log->back() == "sleep off ac" ? std::optional<std::string>("refused.") : std::nullopt;
    };
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep off ac", "sleep on all"));
    EXPECT_TRUE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, AProcessThatCannotBeWatchedIsNotTakenOverAndTheOthersAre) {
    journal.save({{{tavoProcess, {PMSetScope::ac}}, {controlProcess, {PMSetScope::battery}}},
                  {PMSetScope::ac, PMSetScope::battery}});
    processes->unwatchable = tavoProcess;
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep off battery", "sleep on ac"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, ServesOnlySoManyProcesses) {
    for (pid_t pid = 1000; pid < 1000 + static_cast<pid_t>(OverrideKeeper::maxOwners); ++pid) {
        processes->start({pid, 1});
        ask({pid, 1}, PMSetScope::ac);
    }
    EXPECT_THROW(ask(tavoProcess, PMSetScope::ac), WakeControlError);
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    ask({1000, 1}, PMSetScope::battery);
    processes->end({1001, 1});
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_TRUE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, WhatCouldNotBeUndoneIsTriedAgain) {
    ask(tavoProcess, PMSetScope::ac);
    asked();
    setting->failure = "logind is away.";
    processes->end(tavoProcess);
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    EXPECT_THAT(journal.load().scopesInForce, ElementsAre(PMSetScope::ac));
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    setting->failure.reset();
    asked();
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_EQ(lines.size(), 2U) << "an end, and one line for all attempts";
}

TEST_F(Keeper, TheNewScopeComesBeforeTheOldOneGoes) {
    ask(tavoProcess, PMSetScope::ac);
    setting->failure = "busy.";
    EXPECT_THROW(giveBack(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    asked();
    ask(tavoProcess, PMSetScope::all);
    EXPECT_THAT(asked(), ElementsAre("sleep off all", "sleep on ac"));
}

TEST_F(Keeper, ARestartTakesOverWhatLivingProcessesAskedFor) {
    ask(tavoProcess, PMSetScope::ac);
    ask(controlProcess, PMSetScope::battery);
    restart();
    processes->end(controlProcess);
    asked();
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep off ac", "sleep on battery"));
    processes->end(tavoProcess);
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, ANumberThatBelongsToAnotherProcessNowIsNotTakenOver) {
    ask(tavoProcess, PMSetScope::ac);
    keeper.reset();
    processes->end(tavoProcess);
    processes->start({tavoProcess.pid, tavoProcess.startTime + 1});
    restart();
    asked();
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
}

TEST_F(Keeper, WhatTheSettingSaysIsInForceIsUndoneAlsoWithoutAJournal) {
    keeper->takeOver({PMSetScope::battery});
    EXPECT_THAT(asked(), ElementsAre("sleep on battery"));
}

TEST_F(Keeper, AJournalThatCannotBeReadMeansThatEverythingIsUndone) {
    std::ofstream(file) << "{\"overrides\":";
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep on all", "sleep on ac", "sleep on battery"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, ATakeOverThatFailsIsTriedAgain) {
    ask(tavoProcess, PMSetScope::ac);
    restart();
    setting->failure = "logind is away.";
    keeper->takeOver();
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    setting->failure.reset();
    asked();
    keeper->retry();
    EXPECT_THAT(asked(), ElementsAre("sleep off ac"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, UndoesEverythingWhenItIsToldTo) {
    ask(tavoProcess, PMSetScope::ac);
    ask(controlProcess, PMSetScope::battery);
    asked();
    keeper->undoAll();
    EXPECT_THAT(asked(), ElementsAre("sleep on ac", "sleep on battery"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, DoesNotSwitchOffWhatItCannotWriteDown) {
    std::filesystem::create_directory(file);
    EXPECT_ANY_THROW(ask(tavoProcess, PMSetScope::ac));
    EXPECT_THAT(asked(), IsEmpty());
}

class KeeperWithLidClosed : public Keeper {
protected:
    void SetUp() override {
        Keeper::SetUp();
        isLidClosed = true;
    }
};

TEST_F(KeeperWithLidClosed, AScopeThatIsGivenBackStaysForAMomentInCaseAnotherIsAskedFor) {
    ask(tavoProcess, PMSetScope::all);
    asked();
    giveBack(tavoProcess, PMSetScope::all);
    EXPECT_THAT(asked(), IsEmpty());
    ask(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(asked(), ElementsAre("sleep off ac", "sleep on all"));
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(KeeperWithLidClosed, TheSameScopeMayBeTakenAgainWithoutAGap) {
    ask(tavoProcess, PMSetScope::all);
    asked();
    giveBack(tavoProcess, PMSetScope::all);
    ask(tavoProcess, PMSetScope::all);
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_EQ(journal.load().overrides.size(), 1U);
}

TEST_F(KeeperWithLidClosed, AScopeThatIsNotAskedForAgainGoesAfterTheMoment) {
    ask(tavoProcess, PMSetScope::all);
    giveBack(tavoProcess, PMSetScope::all);
    asked();
    timers->advance(OverrideKeeper::grace - std::chrono::milliseconds(1));
    EXPECT_THAT(asked(), IsEmpty());
    timers->advance(std::chrono::milliseconds(1));
    EXPECT_THAT(asked(), ElementsAre("sleep on all"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(KeeperWithLidClosed, AProcessThatEndsIsNotWaitedFor) {
    ask(tavoProcess, PMSetScope::all);
    giveBack(tavoProcess, PMSetScope::all);
    asked();
    processes->end(tavoProcess);
    EXPECT_THAT(asked(), ElementsAre("sleep on all"));
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(KeeperWithLidClosed, AStopIsNotWaitedFor) {
    ask(tavoProcess, PMSetScope::all);
    giveBack(tavoProcess, PMSetScope::all);
    asked();
    keeper->undoAll();
    EXPECT_THAT(asked(), ElementsAre("sleep on all"));
}

TEST_F(KeeperWithLidClosed, AHelperThatIsKilledMeanwhileLeavesNothingToTakeOver) {
    ask(tavoProcess, PMSetScope::all);
    giveBack(tavoProcess, PMSetScope::all);
    restart();
    asked();
    keeper->takeOver();
    EXPECT_THAT(asked(), ElementsAre("sleep on all"));
}

TEST_F(KeeperWithLidClosed, WhatWasNeverHadIsNotKept) {
    giveBack(tavoProcess, PMSetScope::all);
    ask(tavoProcess, PMSetScope::ac);
    giveBack(tavoProcess, PMSetScope::battery);
    EXPECT_THAT(asked(), ElementsAre("sleep off ac"));
}

TEST_F(Keeper, AUserWhoIsNotServedAnyMoreLosesOverridesThoughTheProcessLives) {
    askFor(1000, tavoProcess, PMSetScope::ac);
    askFor(0, controlProcess, PMSetScope::battery);
    asked();
    keeper->endUnserved([](uid_t) { return true; });
    EXPECT_THAT(asked(), IsEmpty());
    isLidClosed = true; // no grace for one who has gone
    keeper->endUnserved([](uid_t user) { return user == 0; });
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    EXPECT_TRUE(processes->isWatched(controlProcess));
    const auto record = journal.load();
    ASSERT_EQ(record.overrides.size(), 1U);
    EXPECT_EQ(record.overrides[0].owner, controlProcess);
    EXPECT_THAT(lines, testing::Contains("user 1000 is not served any more; what process 100 asked for is undone."));
}

TEST_F(Keeper, TheNextHelperKnowsForWhomAProcessAsked) {
    askFor(1000, tavoProcess, PMSetScope::ac);
    restart();
    keeper->takeOver();
    asked();
    keeper->endUnserved([](uid_t) { return false; });
    EXPECT_THAT(asked(), ElementsAre("sleep on ac"));
}

TEST_F(Keeper, AnOwnerWhoseUserIsNotKnownKeepsWhatItHas) {
    ask(tavoProcess, PMSetScope::ac);
    asked();
    keeper->endUnserved([](uid_t) { return false; });
    EXPECT_THAT(asked(), IsEmpty());
}

} // namespace
} // namespace tavo
