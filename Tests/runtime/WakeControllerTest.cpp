#include "runtime/WakeController.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedSleepController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const PowerStatus onAC{.source = CurrentPowerSource::ac};
const PowerStatus onBattery{.source = CurrentPowerSource::battery};
const char* const startOnAC = "start /usr/bin/caffeinate -i -s";

class WakeControllerTest : public testing::Test {
protected:
    std::shared_ptr<EventLog> log = std::make_shared<EventLog>();
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>(log);
    std::shared_ptr<ScriptedSleepController> sleep = std::make_shared<ScriptedSleepController>(log);
    WakeController controller{runner, sleep};
    AppConfig openLid;
    AppConfig closedLid;

    WakeControllerTest() { closedLid.watchMode = WatchMode::closed; }

    /// The events since the last call.
    EventLog events() {
        EventLog since;
        std::swap(since, *log);
        return since;
    }
};

TEST_F(WakeControllerTest, EqualActivationsStartOneChild) {
    controller.activate(openLid, onAC);
    controller.activate(openLid, onAC);
    EXPECT_THAT(events(), ElementsAre(startOnAC));
    EXPECT_EQ(controller.status(), (WakeControllerStatus{.isActive = true, .usesClosedLidOverride = false}));
}

TEST_F(WakeControllerTest, ADeadChildIsReplacedThoughThePlanIsUnchanged) {
    controller.activate(openLid, onAC);
    runner->children.back()->dieFromOutside();
    EXPECT_FALSE(controller.status().isActive);
    events();
    controller.activate(openLid, onAC);
    EXPECT_THAT(events(), ElementsAre("stop", startOnAC));
    EXPECT_TRUE(controller.status().isActive);
}

TEST_F(WakeControllerTest, AnotherPowerSourceChangesTheArguments) {
    controller.activate(openLid, onAC);
    controller.activate(openLid, onBattery);
    EXPECT_THAT(events(), ElementsAre(startOnAC, "stop", "start /usr/bin/caffeinate -i"));
}

TEST_F(WakeControllerTest, TheChildIsStartedBeforeTheOverrideAndStoppedBeforeIt) {
    controller.activate(closedLid, onAC);
    EXPECT_EQ(controller.status(), (WakeControllerStatus{.isActive = true, .usesClosedLidOverride = true}));
    controller.deactivate();
    EXPECT_THAT(events(), ElementsAre(startOnAC, "begin all", "stop", "end all"));
    EXPECT_EQ(controller.status(), WakeControllerStatus{});
}

TEST_F(WakeControllerTest, EqualActivationsWithAClosedLidDoNothing) {
    controller.activate(closedLid, onAC);
    events();
    controller.activate(closedLid, onAC);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(WakeControllerTest, AnotherPolicyEndsTheOldScopeBeforeTheNewOneBegins) {
    controller.activate(closedLid, onAC);
    events();
    closedLid.powerSourcePolicy = PowerSourcePolicy::acOnly;
    controller.activate(closedLid, onAC);
    EXPECT_THAT(events(), ElementsAre("stop", "end all", startOnAC, "begin ac"));
}

TEST_F(WakeControllerTest, WithoutASleepControllerTheClosedLidIsRefusedAndNothingIsTouched) {
    WakeController alone(runner, nullptr);
    alone.activate(openLid, onAC);
    events();
    EXPECT_THROW(alone.activate(closedLid, onAC), WakeControlError);
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_TRUE(alone.status().isActive);
}

TEST_F(WakeControllerTest, WithAnUnavailableSleepControllerTheClosedLidIsRefused) {
    sleep->available = false;
    try {
        controller.activate(closedLid, onAC);
        FAIL() << "activated";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::closedLidRequiresPrivilege());
    }
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(WakeControllerTest, AFailedOverrideStopsTheFreshChild) {
    sleep->failure = "pmset returned 1.";
    try {
        controller.activate(closedLid, onAC);
        FAIL() << "activated";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::commandFailed("pmset returned 1."));
        EXPECT_EQ(error.description(), "pmset returned 1.");
    }
    EXPECT_THAT(events(), ElementsAre(startOnAC, "begin all", "stop"));
    EXPECT_EQ(controller.status(), WakeControllerStatus{});
    controller.deactivate();
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(WakeControllerTest, AChildThatCannotBeLaunchedLeavesNothingHeld) {
    controller.activate(openLid, onBattery);
    runner->failure = std::make_exception_ptr(
        std::system_error(std::make_error_code(std::errc::no_such_file_or_directory), "could not run"));
    events();
    EXPECT_THROW(controller.activate(openLid, onAC), std::system_error);
    EXPECT_THAT(events(), ElementsAre("stop", startOnAC));
    EXPECT_EQ(controller.status(), WakeControllerStatus{});
}

TEST_F(WakeControllerTest, AnOverrideThatCannotBeEndedIsTriedAgainWithTheSameScope) {
    closedLid.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    controller.activate(closedLid, onBattery);
    events();
    sleep->failure = "no answer.";
    EXPECT_THROW(controller.deactivate(), WakeControlError);
    EXPECT_THAT(events(), ElementsAre("stop", "end battery"));
    EXPECT_EQ(controller.status(), (WakeControllerStatus{.isActive = true, .usesClosedLidOverride = true}));

    EXPECT_THROW(controller.activate(openLid, onBattery), WakeControlError);
    EXPECT_THAT(events(), ElementsAre("end battery"));

    sleep->failure.reset();
    controller.deactivate();
    EXPECT_THAT(events(), ElementsAre("end battery"));
    EXPECT_EQ(controller.status(), WakeControllerStatus{});
}

TEST_F(WakeControllerTest, AStuckOverrideIsEndedBeforeANewPlanBegins) {
    controller.activate(closedLid, onAC);
    sleep->failure = "no answer.";
    EXPECT_THROW(controller.deactivate(), WakeControlError);
    sleep->failure.reset();
    events();
    controller.activate(closedLid, onAC);
    EXPECT_THAT(events(), ElementsAre("end all", startOnAC, "begin all"));
}

TEST_F(WakeControllerTest, DeactivatingAFreshControllerCallsNothing) {
    EXPECT_NO_THROW(controller.deactivate());
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(WakeControllerTest, DestroyingItLetsGoOfNothing) {
    {
        WakeController other(runner, sleep);
        other.activate(closedLid, onAC);
        events();
    }
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_TRUE(runner->children.back()->isRunning());
}

} // namespace
} // namespace tavo
