#include "app/TavoAppModelTesting.h"
#include "base/WakeControlError.h"

namespace tavo {
namespace {

class LostAssertionTest : public TavoAppModelTest {
protected:
    void hold() {
        startWith(enabled());
        token = assertionStatus->open();
        assertionStatus->record(token, {.service = AssertionService::logind, .what = "idle:sleep"});
        loop->runPosted();
    }

    void lose() {
        runner->children.back()->dieFromOutside();
        assertionStatus->close(token);
        loop->runPosted();
    }

    AssertionStatus::Token token = 0;
};

TEST_F(LostAssertionTest, IsTakenAgainAsSoonAsTheSystemCanHoldOffSleepAgain) {
    hold();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("logind restarts."));
    lose();
    loop->advance(std::chrono::seconds{1});
    EXPECT_NE(model->evaluationFailure(), nullptr);
    EXPECT_TRUE(model->isTryingAgain());
    EXPECT_FALSE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::error);
    EXPECT_EQ(model->lastError(), "logind restarts.");
    runner->failure = nullptr;
    loop->advance(std::chrono::seconds{1});
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
    EXPECT_FALSE(model->isTryingAgain());
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(LostAssertionTest, IsTriedForWithGrowingPausesAndForAsLongAsItTakes) {
    hold();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no logind."));
    lose();
    const auto before = runner->commands.size();
    loop->advance(std::chrono::hours{1});
    const auto attempts = runner->commands.size() - before;
    EXPECT_GE(attempts, 55U);
    EXPECT_LE(attempts, 70U) << "a busy loop";
    EXPECT_TRUE(model->isTryingAgain());
    runner->failure = nullptr;
    loop->advance(std::chrono::minutes{1});
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
}

TEST_F(LostAssertionTest, IsNoLongerWantedOnceTavoIsSwitchedOff) {
    hold();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no logind."));
    lose();
    loop->advance(std::chrono::seconds{1});
    model->toggleEnabled();
    EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
    EXPECT_FALSE(model->isTryingAgain());
}

TEST_F(LostAssertionTest, OneThatWasNeverHeldIsNotTriedForAgain) {
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no logind."));
    startWith(enabled());
    EXPECT_NE(model->evaluationFailure(), nullptr);
    EXPECT_FALSE(model->isTryingAgain());
    EXPECT_EQ(loop->armedTimers(), 0U);
}

} // namespace
} // namespace tavo
