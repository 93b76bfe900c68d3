#include "TavoPrivilegedHelper/KeeperFixture.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include <gmock/gmock.h>

#include <fstream>

namespace tavo {
namespace {

using testing::ElementsAre;

TEST_F(Keeper, AProcessThatCannotBeWatchedIsNotTakenOverAndTheOthersAre) {
    journal.save({{{tavoProcess, {PMSetScope::ac}}, {controlProcess, {PMSetScope::battery}}},
                  {PMSetScope::ac, PMSetScope::battery}});
    processes->unwatchable = tavoProcess;
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply battery"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, AScopeThatCannotBeHadAnyMoreKeepsNoneInForceThatNobodyWants) {
    journal.save({{{tavoProcess, {PMSetScope::ac}}}, {PMSetScope::ac, PMSetScope::all}});
    setting->unavailable = PMSetScope::ac;
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply ac", "apply none"));
    EXPECT_TRUE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, AScopeThatCannotBeHadDoesNotCostTheOthersTheirs) {
    journal.save({{{tavoProcess, {PMSetScope::ac}}, {controlProcess, {PMSetScope::battery}}},
                  {PMSetScope::ac, PMSetScope::battery}});
    setting->unavailable = PMSetScope::battery;
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply ac battery", "apply ac"));
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    setting->unavailable.reset();
    keeper->retry();
    EXPECT_THAT(applied(), ElementsAre("apply ac battery"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, ARestartTakesOverTheOverridesOfLivingProcesses) {
    begin(tavoProcess, PMSetScope::ac);
    begin(controlProcess, PMSetScope::battery);
    restart();
    processes->end(controlProcess);
    applied();
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    processes->end(tavoProcess);
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, AnOverrideThatWasRefusedIsNotTakenOver) {
    begin(tavoProcess, PMSetScope::ac);
    setting->failure = "logind is away.";
    EXPECT_THROW(begin(tavoProcess, PMSetScope::battery), WakeControlError);
    EXPECT_THROW(begin(controlProcess, PMSetScope::battery), WakeControlError);
    setting->failure.reset();
    applied();
    restart();
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    EXPECT_FALSE(processes->isWatched(controlProcess));
}

TEST_F(Keeper, AnOverrideThatEndedWhileTheSettingFailedIsNotTakenOver) {
    begin(tavoProcess, PMSetScope::ac);
    setting->failure = "logind is away.";
    EXPECT_THROW(end(tavoProcess, PMSetScope::ac), WakeControlError);
    setting->failure.reset();
    applied();
    restart();
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Keeper, ANumberThatBelongsToAnotherProcessNowIsNotTakenOver) {
    begin(tavoProcess, PMSetScope::ac);
    keeper.reset();
    processes->end(tavoProcess);
    processes->start({tavoProcess.pid, tavoProcess.startTime + 1});
    restart();
    applied();
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, AScopeThatTheSettingReportsEndsAlsoWithoutAJournal) {
    keeper->takeOver({PMSetScope::battery});
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, AJournalThatCannotBeReadEndsEverything) {
    std::ofstream(file) << "{\"overrides\":";
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Keeper, ATakeOverThatFailsIsTriedAgain) {
    begin(tavoProcess, PMSetScope::ac);
    restart();
    setting->failure = "logind is away.";
    keeper->takeOver();
    EXPECT_TRUE(keeper->hasUnfinishedWork());
    setting->failure.reset();
    applied();
    keeper->retry();
    EXPECT_THAT(applied(), ElementsAre("apply ac"));
    EXPECT_FALSE(keeper->hasUnfinishedWork());
}

TEST_F(Keeper, TheNextHelperKnowsTheUserOfAnOverride) {
    beginFor(1000, tavoProcess, PMSetScope::ac);
    restart();
    keeper->takeOver();
    applied();
    keeper->endUnserved([](uid_t) { return false; });
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

TEST_F(Keeper, AHelperThatIsKilledMeanwhileLeavesNothingToTakeOver) {
    isLidClosed = true;
    begin(tavoProcess, PMSetScope::all);
    end(tavoProcess, PMSetScope::all);
    restart();
    applied();
    keeper->takeOver();
    EXPECT_THAT(applied(), ElementsAre("apply none"));
}

} // namespace
} // namespace tavo
