#include "runtime/AssertionStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AssertionStatusTest : public testing::Test {
protected:
    AssertionStatus assertionStatus;
    AssertionStatus::Token token = assertionStatus.open();

    void record(const std::string& line) { assertionStatus.record(token, parseAssertionReport(line).value()); }
};

TEST_F(AssertionStatusTest, WhatIsHeldIsListedInOneLine) {
    EXPECT_EQ(assertionStatus.summary(), "");
    record("logind held idle:sleep");
    record("gnome held suspend");
    record("power-management refused suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle:sleep (logind), suspend (gnome)");
}

TEST_F(AssertionStatusTest, ANewerReportOfAServiceReplacesItsEarlierOne) {
    record("logind held idle");
    record("gnome held suspend");
    record("gnome lost suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind)");
    record("gnome held suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind), suspend (gnome)");
}

TEST_F(AssertionStatusTest, ThePortalIsSaidToBeAskedAndGoesWhenAServiceHolds) {
    record("logind held idle");
    record("portal asked suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind), suspend (asked of portal)");
    record("power-management held suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind), suspend (power-management)");
}

TEST_F(AssertionStatusTest, APortalThatAcceptsIsSaidToHold) {
    record("logind held idle");
    record("portal asked suspend");
    record("portal held suspend");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind), suspend (portal)");
    record("portal refused suspend; response 2.");
    EXPECT_EQ(assertionStatus.summary(), "idle (logind)");
    EXPECT_EQ(assertionStatus.notice(), "response 2.");
}

TEST_F(AssertionStatusTest, ThatNoServiceOfTheDesktopAcceptsIsSaidUntilOneAnswers) {
    for (const auto* answer : {"gnome held suspend", "portal asked suspend", "power-management refused suspend; no."}) {
        token = assertionStatus.open();
        record("logind held idle");
        record("desktop refused suspend; nobody accepted.");
        EXPECT_EQ(assertionStatus.notice(), "nobody accepted.");
        EXPECT_EQ(assertionStatus.summary(), "idle (logind)");
        record("gnome lost suspend");
        EXPECT_EQ(assertionStatus.notice(), "nobody accepted.");
        record(answer);
        EXPECT_NE(assertionStatus.notice(), "nobody accepted.");
    }
}

TEST_F(AssertionStatusTest, NoticesAreJoinedAndGoWithTheirReports) {
    EXPECT_EQ(assertionStatus.notice(), std::nullopt);
    record("logind held idle; sleep was refused.");
    record("gnome refused suspend; gnome refused.");
    EXPECT_EQ(assertionStatus.notice(), "sleep was refused. gnome refused.");
    record("gnome held suspend");
    EXPECT_EQ(assertionStatus.notice(), "sleep was refused.");
}

TEST_F(AssertionStatusTest, AnEarlierChildIsNotHeardAnyMore) {
    const auto earlier = token;
    record("logind held idle");
    token = assertionStatus.open();
    EXPECT_THAT(assertionStatus.reports(), IsEmpty());
    assertionStatus.record(earlier, {.service = AssertionService::gnome, .what = "suspend"});
    EXPECT_THAT(assertionStatus.reports(), IsEmpty());
    record("logind held idle:sleep");
    assertionStatus.close(earlier);
    EXPECT_EQ(assertionStatus.summary(), "idle:sleep (logind)");
    assertionStatus.close(token);
    EXPECT_EQ(assertionStatus.summary(), "");
}

TEST_F(AssertionStatusTest, TheLastWordsOfAChildThatHasEndedDoNotCount) {
    record("logind held idle");
    assertionStatus.close(token);
    record("gnome held suspend");
    EXPECT_EQ(assertionStatus.summary(), "");
    EXPECT_NE(assertionStatus.open(), token);
}

TEST_F(AssertionStatusTest, EveryChangeIsAnnouncedAfterItWasMade) {
    std::vector<std::string> seen;
    assertionStatus.onChange([&] { seen.push_back(assertionStatus.summary()); });
    record("logind held idle");
    assertionStatus.close(token);
    assertionStatus.close(token);
    EXPECT_THAT(seen, ElementsAre("idle (logind)", ""));
}

} // namespace
} // namespace tavo
