#include "runtime/AssertionBoard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = AssertionReportState;

TEST(AssertionReport, ALineIsReadIntoItsParts) {
    EXPECT_EQ(parseAssertionReport("logind held idle:sleep"),
              (AssertionReport{.service = "logind", .state = State::held, .what = "idle:sleep", .notice = ""}));
    EXPECT_EQ(parseAssertionReport("portal asked suspend"),
              (AssertionReport{.service = "portal", .state = State::asked, .what = "suspend", .notice = ""}));
    EXPECT_EQ(parseAssertionReport("gnome refused suspend; it said no; so there"),
              (AssertionReport{
                  .service = "gnome", .state = State::refused, .what = "suspend", .notice = "it said no; so there"}));
    EXPECT_EQ(parseAssertionReport("gnome lost suspend")->state, State::lost);
}

TEST(AssertionReport, AnythingElseIsNoReport) {
    for (const auto* line : {"", " ", "logind", "logind held", "logind held ", "logind HELD idle", "logind has idle",
                             " held idle", "logind held idle sleep", "; notice", "logind held; notice"}) {
        EXPECT_EQ(parseAssertionReport(line), std::nullopt) << line;
    }
}

class AssertionBoardTest : public testing::Test {
protected:
    AssertionBoard board;
    AssertionBoard::Token token = board.open();

    void record(const std::string& line) { board.record(token, parseAssertionReport(line).value()); }
};

TEST_F(AssertionBoardTest, WhatIsHeldIsListedInOneLine) {
    EXPECT_EQ(board.summary(), "");
    record("logind held idle:sleep");
    record("gnome held suspend");
    record("power-management refused suspend");
    EXPECT_EQ(board.summary(), "idle:sleep (logind), suspend (gnome)");
}

TEST_F(AssertionBoardTest, ANewerReportOfAServiceReplacesItsEarlierOne) {
    record("logind held idle");
    record("gnome held suspend");
    record("gnome lost suspend");
    EXPECT_EQ(board.summary(), "idle (logind)");
    record("gnome held suspend");
    EXPECT_EQ(board.summary(), "idle (logind), suspend (gnome)");
}

TEST_F(AssertionBoardTest, ThePortalIsSaidToBeAskedAndGoesWhenAServiceHolds) {
    record("logind held idle");
    record("portal asked suspend");
    EXPECT_EQ(board.summary(), "idle (logind), suspend (asked of portal)");
    record("power-management held suspend");
    EXPECT_EQ(board.summary(), "idle (logind), suspend (power-management)");
}

TEST_F(AssertionBoardTest, APortalThatAcceptsIsSaidToHold) {
    record("logind held idle");
    record("portal asked suspend");
    record("portal held suspend");
    EXPECT_EQ(board.summary(), "idle (logind), suspend (portal)");
    record("portal refused suspend; response 2.");
    EXPECT_EQ(board.summary(), "idle (logind)");
    EXPECT_EQ(board.notice(), "response 2.");
}

TEST_F(AssertionBoardTest, ThatNoServiceOfTheDesktopAcceptsIsSaidUntilOneAnswers) {
    for (const auto* answer : {"gnome held suspend", "portal asked suspend", "power-management refused suspend; no."}) {
        token = board.open();
        record("logind held idle");
        record("desktop refused suspend; nobody accepted.");
        EXPECT_EQ(board.notice(), "nobody accepted.");
        EXPECT_EQ(board.summary(), "idle (logind)");
        record("gnome lost suspend");
        EXPECT_EQ(board.notice(), "nobody accepted.");
        record(answer);
        EXPECT_NE(board.notice(), "nobody accepted.");
    }
}

TEST_F(AssertionBoardTest, NoticesAreJoinedAndGoWithTheirReports) {
    EXPECT_EQ(board.notice(), std::nullopt);
    record("logind held idle; sleep was refused.");
    record("gnome refused suspend; gnome refused.");
    EXPECT_EQ(board.notice(), "sleep was refused. gnome refused.");
    record("gnome held suspend");
    EXPECT_EQ(board.notice(), "sleep was refused.");
}

TEST_F(AssertionBoardTest, AnEarlierChildIsNotHeardAnyMore) {
    const auto earlier = token;
    record("logind held idle");
    token = board.open();
    EXPECT_THAT(board.reports(), IsEmpty());
    board.record(earlier, {.service = "gnome", .what = "suspend"});
    EXPECT_THAT(board.reports(), IsEmpty());
    record("logind held idle:sleep");
    board.close(earlier);
    EXPECT_EQ(board.summary(), "idle:sleep (logind)");
    board.close(token);
    EXPECT_EQ(board.summary(), "");
}

TEST_F(AssertionBoardTest, TheLastWordsOfAChildThatHasEndedDoNotCount) {
    record("logind held idle");
    board.close(token);
    record("gnome held suspend");
    EXPECT_EQ(board.summary(), "");
    EXPECT_NE(board.open(), token);
}

TEST_F(AssertionBoardTest, EveryChangeIsAnnouncedAfterItWasMade) {
    std::vector<std::string> seen;
    board.onChange([&] { seen.push_back(board.summary()); });
    record("logind held idle");
    board.close(token);
    board.close(token);
    EXPECT_THAT(seen, ElementsAre("idle (logind)", ""));
}

} // namespace
} // namespace tavo
