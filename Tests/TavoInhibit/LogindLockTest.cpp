#include "Support/BareListener.h"
#include "TavoInhibit/InhibitTest.h"

#include <cctype>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr auto accessDenied = "org.freedesktop.DBus.Error.AccessDenied";

class LogindLockTest : public InhibitTest {
protected:
    /// No lock: status 69, nothing on standard output, and one line on standard error with these words.
    void expectFailureSaying(const std::string& words) {
        EXPECT_EQ(waitForExit(), 69);
        EXPECT_EQ(program->outputSoFar(), "");
        const auto& errors = program->errorsSoFar();
        EXPECT_THAT(errors, HasSubstr(words));
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
        EXPECT_TRUE(errors.ends_with("\n"));
        EXPECT_TRUE(!errors.empty() && std::islower(static_cast<unsigned char>(errors[0])) != 0) << errors;
    }

    std::vector<std::string> askedFor() const {
        std::vector<std::string> result;
        for (const auto& call : logind->calls()) {
            result.push_back(call.arguments.substr(0, call.arguments.find(',')));
        }
        return result;
    }
};

TEST_F(LogindLockTest, IdleIsAskedForOnceAndHeldUntilTheEndOfInput) {
    startHolding();
    EXPECT_EQ(logind->heldLocks(), 1U);
    ASSERT_EQ(logind->calls().size(), 1U);
    const auto& call = logind->calls()[0];
    EXPECT_EQ(call.path, "/org/freedesktop/login1");
    EXPECT_EQ(call.interface, "org.freedesktop.login1.Manager");
    EXPECT_EQ(call.member, "Inhibit");
    EXPECT_EQ(call.arguments, R"("idle", "tavo", "keeping the computer awake as the user asked", "block")");
    expectReleaseAtEndOfInput();
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
}

TEST_F(LogindLockTest, SleepIsHeldBesideIdleInOneLock) {
    startLogind();
    startInhibit({"-i", "-s"});
    ASSERT_TRUE(waitForLine("logind held idle:sleep"));
    EXPECT_THAT(askedFor(), ElementsAre("\"idle:sleep\""));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
}

TEST_F(LogindLockTest, RefusedSleepLeavesIdleHeldAndSaysSo) {
    startLogind().refuse("sleep", accessDenied, "Access denied");
    startInhibit({"-i", "-s"});
    ASSERT_TRUE(waitForLine("logind held idle; sleep was refused (access denied): another session, such as the login "
                            "screen, may still put the computer to sleep; run sudo tavoctl run to hold it too"));
    EXPECT_THAT(askedFor(), ElementsAre("\"idle:sleep\"", "\"idle\""));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
}

TEST_F(LogindLockTest, SleepThatAnAdministratorWouldHaveToApproveCountsAsRefused) {
    startLogind().refuse("sleep", "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired", "Approval required");
    startInhibit({"-is"});
    EXPECT_TRUE(pump.until([this] { return program->lines().size() == 1; }));
    EXPECT_THAT(program->lines().at(0), ::testing::StartsWith("logind held idle; sleep was refused"));
}

TEST_F(LogindLockTest, RefusedIdleIsAFailureThatNamesTheWayOut) {
    startLogind().refuse("idle", accessDenied, "Permission denied");
    startInhibit({"-i", "-s"});
    expectFailureSaying("logind refused the lock (access denied): without polkit only root may hold locks, so run sudo "
                        "tavoctl run");
    EXPECT_THAT(askedFor(), ElementsAre("\"idle:sleep\"", "\"idle\""));
}

TEST_F(LogindLockTest, AnotherErrorIsPassedOnWithoutItsControlCharacters) {
    startLogind().refuse("idle", "org.freedesktop.DBus.Error.LimitsExceeded", "Too many\nlocks\033[31m.");
    startInhibit({"-i", "-s"});
    expectFailureSaying("logind refused the lock (too many locks [31m); tavoctl doctor says what to do");
    EXPECT_EQ(logind->calls().size(), 1U);
}

TEST_F(LogindLockTest, AnAnswerWithoutALockIsAFailure) {
    startLogind().answerWithNonsense();
    startInhibit();
    expectFailureSaying("logind refused the lock (");
}

TEST_F(LogindLockTest, WithoutASystemBusItFails) {
    systemBus.stop(SIGTERM);
    startInhibit();
    expectFailureSaying("the system bus cannot be reached (no such file or directory)");
}

TEST_F(LogindLockTest, ADeadSystemBusIsAFailure) {
    systemBus.stop(SIGKILL);
    startInhibit();
    expectFailureSaying("the system bus cannot be reached (connection refused)");
}

TEST_F(LogindLockTest, WithoutLogindItFails) {
    startInhibit();
    expectFailureSaying("no logind is running (");
}

TEST_F(LogindLockTest, ASilentLogindIsAFailureBeforeTheParentGivesUp) {
    startLogind().stayAvailableButSilent();
    startInhibit();
    expectFailureSaying("logind gave no answer in time");
    EXPECT_EQ(logind->calls().size(), 1U);
}

TEST_F(LogindLockTest, ASystemBusThatLetsNobodyInIsAFailure) {
    systemBus.stop(SIGTERM);
    const BareListener bus(systemBus.socket());
    startInhibit();
    expectFailureSaying("logind gave no answer in time");
}

TEST_F(LogindLockTest, ASystemBusThatEndsBeforeTheAnswerIsAFailure) {
    startLogind().stayAvailableButSilent();
    startInhibit();
    ASSERT_TRUE(pump.until([this] { return !logind->calls().empty(); }));
    systemBus.stop(SIGKILL);
    expectFailureSaying("the system bus ended the connection before logind had answered");
}

TEST_F(LogindLockTest, TheLockOutlivesTheSystemBus) {
    startHolding();
    systemBus.stop(SIGKILL);
    EXPECT_EQ(logind->heldLocks(), 1U);
    // Asking the desktop is something it can only do while it runs on.
    sessionBus.start();
    const auto gnome = makeGnome();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
}

} // namespace
} // namespace tavo
