#include "TavoPrivilegedHelper/MachineWideSleepController.h"

#include "Support/ScriptedSleepController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;

class MachineWide : public testing::Test {
protected:
    std::shared_ptr<ScriptedSleepController> setting = std::make_shared<ScriptedSleepController>();
    MachineWideSleepController controller{setting};
};

TEST_F(MachineWide, IsSwitchedBackOnWithTheLastScope) {
    controller.setSleepDisabled(PMSetScope::ac, true);
    controller.setSleepDisabled(PMSetScope::battery, true);
    controller.setSleepDisabled(PMSetScope::ac, false);
    controller.setSleepDisabled(PMSetScope::battery, false);
    EXPECT_THAT(*setting->log, ElementsAre("sleep off ac", "sleep off battery", "sleep on battery"));
}

TEST_F(MachineWide, WhatAnEarlierLifeLeftIsSwitchedBackOnUnlessItIsStillNeeded) {
    controller.setSleepDisabled(PMSetScope::all, false);
    controller.setSleepDisabled(PMSetScope::ac, true);
    controller.setSleepDisabled(PMSetScope::battery, false);
    EXPECT_THAT(*setting->log, ElementsAre("sleep on all", "sleep off ac"));
}

TEST_F(MachineWide, AFailureToSwitchBackOnIsTriedAgain) {
    controller.setSleepDisabled(PMSetScope::ac, true);
    setting->failure = "pmset returned 1.";
    EXPECT_THROW(controller.setSleepDisabled(PMSetScope::ac, false), WakeControlError);
    setting->failure.reset();
    controller.setSleepDisabled(PMSetScope::ac, false);
    EXPECT_THAT(*setting->log, ElementsAre("sleep off ac", "sleep on ac", "sleep on ac"));
}

TEST_F(MachineWide, IsAvailableWhenTheSettingIs) {
    EXPECT_TRUE(controller.isAvailable());
    setting->available = false;
    EXPECT_FALSE(controller.isAvailable());
}

} // namespace
} // namespace tavo
