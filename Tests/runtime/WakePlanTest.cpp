#include "runtime/WakePlan.h"

#include "base/WakeControlError.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using Arguments = std::vector<std::string>;

TEST(WakePlanBuilder, OnACPowerSystemSleepIsHeldOffToo) {
    const auto plan = WakePlanBuilder{}.buildPlan({}, {.source = CurrentPowerSource::ac}, false);
    EXPECT_EQ(
        plan.standardAssertionCommand,
        (ShellCommand{.executableURL = "/usr/bin/caffeinate", .arguments = {"-i", "-s"}, .requiresPrivilege = false}));
    EXPECT_FALSE(plan.usesClosedLidOverride());
}

TEST(WakePlanBuilder, OnBatteryOrUnknownPowerIdleSleepAloneIsHeldOff) {
    for (const auto source : {CurrentPowerSource::battery, CurrentPowerSource::unknown}) {
        EXPECT_EQ(WakePlanBuilder{}.buildPlan({}, {.source = source}, true).standardAssertionCommand.arguments,
                  Arguments{"-i"});
    }
}

TEST(WakePlanBuilder, AnotherProgramMayHoldTheAssertion) {
    const WakePlanBuilder builder{.assertionExecutable = "/opt/holder"};
    EXPECT_EQ(builder.buildPlan({}, {}, false).standardAssertionCommand.executableURL, "/opt/holder");
}

TEST(WakePlan, ThePlannedKindsOfSleepAreThoseThatItsCommandHoldsOff) {
    EXPECT_EQ(plannedToHoldOff(CurrentPowerSource::ac), "idle:sleep");
    EXPECT_EQ(plannedToHoldOff(CurrentPowerSource::battery), "idle");
    EXPECT_EQ(plannedToHoldOff(CurrentPowerSource::unknown), "idle");
    for (const auto source : {CurrentPowerSource::ac, CurrentPowerSource::battery, CurrentPowerSource::unknown}) {
        const auto plan = WakePlanBuilder{}.buildPlan({}, {.source = source}, false);
        EXPECT_EQ(heldOffBy(plan.standardAssertionCommand.arguments), plannedToHoldOff(source));
    }
}

TEST(WakePlan, OnlyTheFlagsOfAnAssertionHoldAnythingOff) {
    EXPECT_EQ(heldOffBy({"-i", "-s", "-w", "17"}), "idle:sleep");
    EXPECT_EQ(heldOffBy({}), "");
}

TEST(PMSetScope, APolicyMapsCaseForCase) {
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::any), PMSetScope::all);
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::acOnly), PMSetScope::ac);
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::batteryOnly), PMSetScope::battery);
}

TEST(WakePlanBuilder, TheClosedLidScopeFollowsThePolicy) {
    for (const auto mode : {WatchMode::closed, WatchMode::both}) {
        for (const auto policy : allCases<PowerSourcePolicy>()) {
            AppConfig config;
            config.watchMode = mode;
            config.powerSourcePolicy = policy;
            const auto plan = WakePlanBuilder{}.buildPlan(config, {}, true);
            EXPECT_EQ(plan.closedLidScope, pmsetScope(policy));
            EXPECT_TRUE(plan.usesClosedLidOverride());
        }
    }
}

TEST(WakePlanBuilder, TheClosedLidNeedsSupport) {
    for (const auto mode : {WatchMode::closed, WatchMode::both}) {
        AppConfig config;
        config.watchMode = mode;
        try {
            WakePlanBuilder{}.buildPlan(config, {}, false);
            FAIL() << "a plan without support";
        } catch (const WakeControlError& error) {
            EXPECT_EQ(error, WakeControlError::closedLidRequiresPrivilege());
            EXPECT_EQ(error.description(), "closed-lid wake prevention requires privileged command support.");
        }
    }
}

} // namespace
} // namespace tavo
