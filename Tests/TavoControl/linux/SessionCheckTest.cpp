#include "TavoControl/linux/SessionCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using Kind = SessionPlace::Kind;

TEST(SessionCheck, AnApplicationOfTheUsersServiceManagerIsFineOnceItHasTheLocks) {
    const SessionPlace place{.kind = Kind::userManager, .unit = "user@1000.service"};
    const auto check = checkSession(place, true);
    EXPECT_EQ(check.verdict, CheckVerdict::fine);
    EXPECT_THAT(check.finding, HasSubstr("user@1000.service"));
    EXPECT_EQ(check.advice, "");
    EXPECT_EQ(checkSession(place, false).verdict, CheckVerdict::limited);
    EXPECT_THAT(checkSession(place, false).advice, HasSubstr("sudo tavoctl run"));
}

TEST(SessionCheck, AProcessWithoutASessionAndARemoteOneAreLimitedEvenWithTheLocks) {
    for (const auto kind : {Kind::none, Kind::remote}) {
        const auto check = checkSession({.kind = kind}, true);
        EXPECT_EQ(check.verdict, CheckVerdict::limited);
        EXPECT_THAT(check.advice, HasSubstr("sudo tavoctl run"));
    }
}

TEST(SessionCheck, ALocalSessionIsFine) {
    EXPECT_EQ(checkSession({.kind = Kind::local, .isActive = true}, false).finding, "local and active");
    EXPECT_EQ(checkSession({.kind = Kind::local}, true).finding, "local, not active now");
    EXPECT_EQ(checkSession({.kind = Kind::local}, true).verdict, CheckVerdict::fine);
}

TEST(SessionCheck, RootIsNotAskedForASession) {
    EXPECT_EQ(checkSession({.kind = Kind::notAskedAbout}, true).finding, "root needs none");
    EXPECT_EQ(SessionPlace::ofThisProcess().kind == Kind::notAskedAbout, ::geteuid() == 0);
}

} // namespace
} // namespace tavo
