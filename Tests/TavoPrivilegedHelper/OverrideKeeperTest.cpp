#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include "TavoPrivilegedHelper/KeeperFixture.h"

#include <gmock/gmock.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Keeper, BeginsAnOverrideAndEndsIt) {
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    end(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, AppliesAScopeOnceHoweverManyWantIt) {
    begin(tavoProcess, PMSetScope::ac);
    begin(controlProcess, PMSetScope::ac);
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    end(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), IsEmpty());
    end(controlProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, EachScopeEndsWithItsOwnProcess) {
    begin(tavoProcess, PMSetScope::ac);
    begin(controlProcess, PMSetScope::battery);
    applied();
    processes->end(controlProcess);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    processes->end(tavoProcess);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, AProcessThatEndsTakesAllItsScopesWithIt) {
    begin(tavoProcess, PMSetScope::ac);
    begin(tavoProcess, PMSetScope::battery);
    applied();
    processes->end(tavoProcess);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, IsIdleWithoutOverridesAndTellsWhenTheLastHasGoneByItself) {
    EXPECT_TRUE(keeper->isIdle());
    begin(tavoProcess, PMSetScope::ac);
    begin(controlProcess, PMSetScope::ac);
    end(controlProcess, PMSetScope::ac);
    EXPECT_FALSE(keeper->isIdle());
    changes = 0;
    processes->end(tavoProcess);
    EXPECT_TRUE(keeper->isIdle());
    EXPECT_EQ(changes, 1);
}

TEST_F(Keeper, IsNotIdleWhileAnEndedOverrideIsStillInForce) {
    isLidClosed = true;
    begin(tavoProcess, PMSetScope::ac);
    end(tavoProcess, PMSetScope::ac);
    EXPECT_FALSE(keeper->isIdle());
    changes = 0;
    timers->advance(OverrideKeeper::grace);
    EXPECT_TRUE(keeper->isIdle());
    EXPECT_GE(changes, 1);
}

TEST_F(Keeper, AProcessWithoutAnOverrideIsNotWatchedAnyMore) {
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_TRUE(processes->isWatched(tavoProcess));
    end(tavoProcess, PMSetScope::ac);
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, EndingAnOverrideThatNeverBeganChangesNothing) {
    begin(tavoProcess, PMSetScope::ac);
    applied();
    end(controlProcess, PMSetScope::ac);
    end(tavoProcess, PMSetScope::battery);
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(Keeper, AProcessThatHasEndedGetsNothing) {
    EXPECT_THROW(begin({300, 7000}, PMSetScope::ac), WakeControlError);
    EXPECT_THROW(begin({tavoProcess.pid, tavoProcess.startTime + 1}, PMSetScope::ac), WakeControlError);
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(Keeper, TheJournalIsWrittenBeforeAScopeComesIntoForce) {
    SleepOverrideRecord seen;
    setting->onCall = [&] { seen = journal.load(); };
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_EQ(seen, (SleepOverrideRecord{{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac}}));
}

TEST_F(Keeper, TheJournalForgetsAScopeOnlyOnceItHasEnded) {
    begin(tavoProcess, PMSetScope::ac);
    SleepOverrideRecord seen;
    setting->onCall = [&] { seen = journal.load(); };
    end(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(seen.scopesInForce, ElementsAre(PMSetScope::ac));
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Keeper, AnOverrideThatCannotBeHadIsForgotten) {
    setting->failure = "no.";
    EXPECT_THROW(begin(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    applied();
    keeper->retry();
    EXPECT_THAT(applied(), ElementsAre("apply none")) << "half of it may have been done";
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Keeper, AScopeThatCannotBeHadLeavesTheOthersAlone) {
    begin(tavoProcess, PMSetScope::ac);
    setting->failure = "no.";
    EXPECT_THROW(begin(tavoProcess, PMSetScope::battery), WakeControlError);
    setting->failure.reset();
    keeper->retry();
    EXPECT_EQ(journal.load(), (SleepOverrideRecord{{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac}}));
    EXPECT_TRUE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, ASettingThatDoesNotAnswerLosesNoOverrideThatIsWanted) {
    begin(tavoProcess, PMSetScope::ac);
    applied();
    setting->failure = "logind is away.";
    EXPECT_THROW(begin(controlProcess, PMSetScope::battery), WakeControlError);
    EXPECT_THAT(applied(), ElementsAre("apply ac battery", "apply ac"));
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
}

TEST_F(Keeper, AScopeThatMayHaveEndedAfterAllIsAppliedWhenItBeginsAgain) {
    begin(tavoProcess, PMSetScope::ac);
    setting->failure = "logind is away.";
    EXPECT_THROW(end(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    applied();
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(Keeper, ServesOnlySoManyProcesses) {
    for (pid_t pid = 1000; pid < 1000 + static_cast<pid_t>(OverrideKeeper::maxOwners); ++pid) {
        processes->start({pid, 1});
        begin({pid, 1}, PMSetScope::ac);
    }
    EXPECT_THROW(begin(tavoProcess, PMSetScope::ac), WakeControlError);
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    begin({1000, 1}, PMSetScope::battery);
    processes->end({1001, 1});
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_TRUE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, AnEndThatFailsIsTriedAgain) {
    begin(tavoProcess, PMSetScope::ac);
    applied();
    setting->failure = "logind is away.";
    processes->end(tavoProcess);
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    EXPECT_FALSE(keeper->isIdle());
    EXPECT_THAT(journal.load().scopesInForce, ElementsAre(PMSetScope::ac));
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    setting->failure.reset();
    applied();
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
    timers->advance(OverrideKeeper::retryPause);
    EXPECT_THAT(applied(), IsEmpty());
    EXPECT_EQ(lines.size(), 2U) << "an end, and one line for all attempts";
}

TEST_F(Keeper, ANewScopeReplacesOneThatCouldNotEnd) {
    begin(tavoProcess, PMSetScope::ac);
    setting->failure = "busy.";
    EXPECT_THROW(end(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    applied();
    begin(tavoProcess, PMSetScope::all);
    EXPECT_THAT(applied(), ElementsAre("apply all"));
}

TEST_F(Keeper, EndsEverythingWhenItIsToldTo) {
    begin(tavoProcess, PMSetScope::ac);
    begin(controlProcess, PMSetScope::battery);
    applied();
    keeper->endAll();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(Keeper, AppliesNothingThatItCannotWriteDown) {
    std::filesystem::create_directory(file);
    EXPECT_ANY_THROW(begin(tavoProcess, PMSetScope::ac));
    EXPECT_THAT(applied(), IsEmpty());
}

class KeeperWithLidClosed : public Keeper {
protected:
    void SetUp() override {
        Keeper::SetUp();
        isLidClosed = true;
    }
};

TEST_F(KeeperWithLidClosed, AScopeStaysForAMomentInCaseTheNextOverrideBegins) {
    begin(tavoProcess, PMSetScope::all);
    applied();
    end(tavoProcess, PMSetScope::all);
    EXPECT_THAT(applied(), IsEmpty());
    begin(tavoProcess, PMSetScope::ac);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(KeeperWithLidClosed, ANextOverrideThatCannotBeHadLeavesTheMoment) {
    begin(tavoProcess, PMSetScope::all);
    end(tavoProcess, PMSetScope::all);
    applied();
    setting->unavailable = PMSetScope::ac;
    EXPECT_THROW(begin(tavoProcess, PMSetScope::ac), WakeControlError);
    EXPECT_THAT(applied(), ElementsAre("apply ac", "apply all"));
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(KeeperWithLidClosed, TheSameScopeMayBeginAgainWithoutAGap) {
    begin(tavoProcess, PMSetScope::all);
    applied();
    end(tavoProcess, PMSetScope::all);
    begin(tavoProcess, PMSetScope::all);
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(applied(), IsEmpty());
    EXPECT_EQ(journal.load().overrides.size(), 1U);
}

TEST_F(KeeperWithLidClosed, AScopeThatDoesNotBeginAgainEndsAfterTheMoment) {
    begin(tavoProcess, PMSetScope::all);
    end(tavoProcess, PMSetScope::all);
    applied();
    timers->advance(OverrideKeeper::grace - std::chrono::milliseconds(1));
    EXPECT_THAT(applied(), IsEmpty());
    timers->advance(std::chrono::milliseconds(1));
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
}

TEST_F(KeeperWithLidClosed, AProcessThatEndsIsNotWaitedFor) {
    begin(tavoProcess, PMSetScope::all);
    end(tavoProcess, PMSetScope::all);
    applied();
    processes->end(tavoProcess);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    timers->advance(OverrideKeeper::grace);
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(KeeperWithLidClosed, AStopIsNotWaitedFor) {
    begin(tavoProcess, PMSetScope::all);
    end(tavoProcess, PMSetScope::all);
    applied();
    keeper->endAll();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(KeeperWithLidClosed, AScopeThatNeverBeganIsNotKept) {
    end(tavoProcess, PMSetScope::all);
    begin(tavoProcess, PMSetScope::ac);
    end(tavoProcess, PMSetScope::battery);
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
}

TEST_F(Keeper, AUserWhoIsNotServedAnyMoreLosesOverridesThoughTheProcessLives) {
    beginFor(1000, tavoProcess, PMSetScope::ac);
    beginFor(0, controlProcess, PMSetScope::battery);
    applied();
    keeper->endUnserved([](uid_t) { return true; });
    EXPECT_THAT(applied(), IsEmpty());
    isLidClosed = true; // no grace for one who has gone
    keeper->endUnserved([](uid_t user) { return user == 0; });
    EXPECT_THAT(applied(), ElementsAre("apply battery"));
    EXPECT_FALSE(processes->isWatched(tavoProcess));
    EXPECT_TRUE(processes->isWatched(controlProcess));
    const auto record = journal.load();
    ASSERT_EQ(record.overrides.size(), 1U);
    EXPECT_EQ(record.overrides[0].owner, controlProcess);
    EXPECT_THAT(lines, testing::Contains("user 1000 is not served any more, so the override of process 100 ends."));
}

TEST_F(Keeper, AnOwnerWhoseUserIsNotKnownKeepsItsOverride) {
    begin(tavoProcess, PMSetScope::ac);
    applied();
    keeper->endUnserved([](uid_t) { return false; });
    EXPECT_THAT(applied(), IsEmpty());
}

} // namespace
} // namespace tavo
