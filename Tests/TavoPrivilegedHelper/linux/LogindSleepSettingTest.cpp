#include "TavoPrivilegedHelper/linux/LogindSleepSetting.h"

#include "TavoPrivilegedHelper/linux/LogindSleepFixture.h"
#include "base/AtomicFile.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(LogindSleep, EachScopeIsOneOfTheTwoSettings) {
    struct Row {
        PMSetScope scope;
        LidSwitchActions during;
    };
    for (const auto& row : {Row{PMSetScope::ac, {"suspend", "ignore"}}, Row{PMSetScope::battery, {"ignore", "suspend"}},
                            Row{PMSetScope::all, {"ignore", "ignore"}}}) {
        begin(row.scope);
        EXPECT_EQ(logind->current, row.during) << rawValue(row.scope);
        EXPECT_TRUE(logind->isLockHeld());
        end(row.scope);
        EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""})) << rawValue(row.scope);
        EXPECT_FALSE(logind->isLockHeld());
        EXPECT_EQ(fileCount(), 0U);
    }
}

TEST_F(LogindSleep, ASettingForExternalPowerStaysWhenBatteryAloneIsMeant) {
    configure("50-own.conf", "HandleLidSwitch=hibernate\nHandleLidSwitchExternalPower=lock\n");
    begin(PMSetScope::battery);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "lock"}));
    end(PMSetScope::battery);
    EXPECT_EQ(logind->current, (LidSwitchActions{"hibernate", "lock"}));
}

TEST_F(LogindSleep, WhatExternalPowerFollowsIsWrittenDownWhenBatteryAloneIsMeant) {
    configure("50-own.conf", "HandleLidSwitch=hibernate\n");
    begin(PMSetScope::battery);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "hibernate"}));
}

TEST_F(LogindSleep, ScopesAreUnited) {
    begin(PMSetScope::battery);
    begin(PMSetScope::ac);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "ignore"}));
    end(PMSetScope::battery);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", "ignore"}));
    begin(PMSetScope::all);
    end(PMSetScope::ac);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "ignore"}));
    EXPECT_TRUE(logind->isLockHeld());
    end(PMSetScope::all);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
    EXPECT_FALSE(logind->isLockHeld());
}

TEST_F(LogindSleep, GoingBackToBatteryAloneStillKnowsWhatExternalPowerFollowed) {
    begin(PMSetScope::all);
    begin(PMSetScope::battery);
    end(PMSetScope::all);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "suspend"}));
}

TEST_F(LogindSleep, FilesOfOthersAreNotTouched) {
    configure("zz-own.conf", "HandleLidSwitch=lock\n");
    begin(PMSetScope::all);
    EXPECT_EQ(logind->current, (LidSwitchActions{"ignore", "ignore"})) << "ours comes last";
    end(PMSetScope::all);
    EXPECT_EQ(readWholeFile(folder.path() / "zz-own.conf"), "[Login]\nHandleLidSwitch=lock\n");
    EXPECT_EQ(fileCount(), 1U);
}

TEST_F(LogindSleep, AFileThatComesLaterIsFoundOutAndEverythingIsRestored) {
    configure("zzzz.conf", "HandleLidSwitch=suspend\n");
    try {
        begin(PMSetScope::all);
        FAIL() << "nothing was thrown";
    } catch (const WakeControlError& error) {
        EXPECT_THAT(error.description(), HasSubstr("HandleLidSwitch=suspend and HandleLidSwitchExternalPower=ignore"));
    }
    EXPECT_FALSE(logind->isLockHeld());
    EXPECT_EQ(fileCount(), 1U);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
}

TEST_F(LogindSleep, TheWaitsOfOneRequestShareItsTime) {
    logind->ticksToReread = 100000;
    const TimeBudget::Request request(*budget);
    onPause = [this] { now += std::chrono::milliseconds{20}; };
    const auto start = now;
    EXPECT_THROW(begin(PMSetScope::all), WakeControlError);
    // Each pause is 20 ms by the request's clock: 200 attempts for the confirmation, and ten for the restoration.
    EXPECT_LT(now - start, std::chrono::milliseconds{4400});
    now = start + std::chrono::hours{1};
    const auto late = now;
    EXPECT_THROW(begin(PMSetScope::all), WakeControlError);
    EXPECT_LT(now - late, std::chrono::milliseconds{400});
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(LogindSleep, AScopeThatCannotBeHadLeavesTheOthersInForce) {
    configure("zzzz.conf", "HandleLidSwitch=suspend\n");
    begin(PMSetScope::ac);
    EXPECT_THROW(begin(PMSetScope::battery), WakeControlError);
    logind->tick();
    logind->tick();
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", "ignore"}));
    EXPECT_TRUE(logind->isLockHeld());
}

TEST_F(LogindSleep, NothingIsChangedWithoutTheLock) {
    logind->failingCall = "lock";
    EXPECT_THROW(begin(PMSetScope::all), DescribedError);
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(LogindSleep, ASettingThatCouldNotBeRestoredIsRestoredLater) {
    logind->failingCall = "reread";
    EXPECT_THROW(begin(PMSetScope::all), DescribedError);
    EXPECT_THAT(lines, ElementsAre(HasSubstr("reread failed")));
    EXPECT_EQ(fileCount(), 0U);
    logind->failingCall.clear();
    logind->log.clear();
    end(PMSetScope::all);
    EXPECT_THAT(logind->log, ElementsAre("reread"));
}

TEST_F(LogindSleep, TheLockIsKeptUntilLogindHasBeenTold) {
    begin(PMSetScope::all);
    logind->failingCall = "reread";
    EXPECT_THROW(end(PMSetScope::all), DescribedError);
    EXPECT_TRUE(logind->isLockHeld());
    logind->failingCall.clear();
    end(PMSetScope::all);
    EXPECT_FALSE(logind->isLockHeld());
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
}

TEST_F(LogindSleep, AnEarlierProcessLeavesTheActionsFromBeforeIt) {
    begin(PMSetScope::battery);
    restart();
    EXPECT_TRUE(setting->hasLeftover());
    begin(PMSetScope::ac);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", "ignore"}));
    end(PMSetScope::ac);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
    EXPECT_FALSE(setting->hasLeftover());
}

TEST_F(LogindSleep, ADropInOfAnEarlierProcessEnds) {
    begin(PMSetScope::all);
    restart();
    end(PMSetScope::all);
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(LogindSleep, ALeftoverThatSaysNothingIsRemovedAllTheSame) {
    std::ofstream(folder.path() / "zzz-com.vrd.tavo.helper.conf") << "[Login]\nHandleLidSwitch=ignore\n";
    logind->current = logind->merged();
    restart();
    end(PMSetScope::all);
    logind->tick();
    logind->tick();
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
}

TEST_F(LogindSleep, ARereadThatFailedIsOwedThoughTheFileHasGone) {
    std::ofstream(folder.path() / "zzz-com.vrd.tavo.helper.conf") << "[Login]\nHandleLidSwitch=ignore\n";
    logind->current = logind->merged();
    restart();
    logind->failingCall = "reread";
    EXPECT_THROW(end(PMSetScope::all), DescribedError);
    EXPECT_EQ(fileCount(), 0U);
    logind->failingCall.clear();
    end(PMSetScope::all);
    logind->tick();
    logind->tick();
    EXPECT_EQ(logind->current, (LidSwitchActions{"suspend", ""}));
}

TEST_F(LogindSleep, EndingWithoutAnOverrideAsksNobody) {
    end(PMSetScope::all);
    EXPECT_THAT(logind->log, IsEmpty());
}

TEST_F(LogindSleep, AnotherSettingThatChangedMeanwhileIsNotFoughtOver) {
    begin(PMSetScope::all);
    std::ofstream(folder.path() / "50-own.conf") << "[Login]\nHandleLidSwitch=lock\n";
    end(PMSetScope::all);
    EXPECT_EQ(logind->current, (LidSwitchActions{"lock", ""}));
    EXPECT_THAT(lines, ElementsAre(HasSubstr("has changed")));
    EXPECT_FALSE(logind->isLockHeld());
}

TEST_F(LogindSleep, TheFileIsReadableByAllWhateverTheMask) {
    const auto before = umask(077);
    begin(PMSetScope::all);
    umask(before);
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(folder.path() / "zzz-com.vrd.tavo.helper.conf").permissions(),
              perms::owner_read | perms::owner_write | perms::group_read | perms::others_read);
}

/// A closed lid that a desktop handles, and nothing else.
constexpr LidSituation closedOnDesktop() {
    LidSituation lid;
    lid.isLidClosed = true;
    lid.isLidHandledElsewhere = true;
    return lid;
}

class ClosedLid : public LogindSleep {
protected:
    /// The action requested when the last override ends.
    std::vector<std::string> afterwards(const LidSituation& lid) {
        begin(PMSetScope::all);
        logind->lid = lid;
        logind->log.clear();
        end(PMSetScope::all);
        auto log = logind->log;
        std::erase(log, "reread");
        return log;
    }
};

TEST_F(ClosedLid, TheMachineIsSentToSleepWhenNobodyElseWould) {
    EXPECT_THAT(afterwards(closedOnDesktop()), ElementsAre("sleep by suspend"));
}

TEST_F(ClosedLid, OnlyTheLastOverrideSendsIt) {
    begin(PMSetScope::all);
    begin(PMSetScope::ac);
    logind->lid = closedOnDesktop();
    logind->log.clear();
    end(PMSetScope::all);
    EXPECT_THAT(logind->log, ElementsAre("reread"));
    end(PMSetScope::ac);
    EXPECT_THAT(logind->log, ElementsAre("reread", "reread", "sleep by suspend"));
}

TEST_F(ClosedLid, AnOpenLidSendsNothingToSleep) {
    auto lid = closedOnDesktop();
    lid.isLidClosed = false;
    EXPECT_THAT(afterwards(lid), IsEmpty());
}

TEST_F(ClosedLid, LogindActsByItselfWhereNobodyHasTakenTheSwitchFromIt) {
    auto lid = closedOnDesktop();
    lid.isLidHandledElsewhere = false;
    EXPECT_THAT(afterwards(lid), IsEmpty());
}

TEST_F(ClosedLid, ALockThatIsJustGoingIsWaitedFor) {
    auto lid = closedOnDesktop();
    lid.isSleepBlocked = true;
    begin(PMSetScope::all);
    logind->lid = lid;
    logind->log.clear();
    int looks = 0;
    onPause = [&] { logind->lid.isSleepBlocked = ++looks < 6; };
    end(PMSetScope::all);
    EXPECT_THAT(logind->log, ElementsAre("reread", "sleep by suspend"));
}

TEST_F(ClosedLid, ALockOfSomebodyElseIsRespected) {
    auto lid = closedOnDesktop();
    lid.isSleepBlocked = true;
    EXPECT_THAT(afterwards(lid), IsEmpty());
}

TEST_F(ClosedLid, TheActionIsThatOfThePowerSource) {
    configure("50-own.conf", "HandleLidSwitch=hibernate\nHandleLidSwitchExternalPower=lock\n");
    auto lid = closedOnDesktop();
    EXPECT_THAT(afterwards(lid), ElementsAre("sleep by hibernate"));
    lid.isOnExternalPower = true;
    EXPECT_THAT(afterwards(lid), ElementsAre("sleep by lock"));
}

TEST_F(ClosedLid, OnExternalPowerTheActionMayBeThatForBattery) {
    auto lid = closedOnDesktop();
    lid.isOnExternalPower = true;
    EXPECT_THAT(afterwards(lid), ElementsAre("sleep by suspend"));
}

TEST_F(ClosedLid, ADockedMachineHasItsOwnAction) {
    auto lid = closedOnDesktop();
    lid.isDocked = true;
    lid.actionWhenDocked = "ignore";
    EXPECT_THAT(afterwards(lid), ElementsAre("sleep by ignore"));
}

TEST_F(ClosedLid, AFailureToAskIsNoFailureToEnd) {
    begin(PMSetScope::all);
    logind->failingCall = "situation";
    EXPECT_NO_THROW(end(PMSetScope::all));
    EXPECT_THAT(lines, ElementsAre(HasSubstr("situation failed")));
}

} // namespace
} // namespace tavo
