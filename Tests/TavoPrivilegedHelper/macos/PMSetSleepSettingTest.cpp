#include "TavoPrivilegedHelper/macos/PMSetSleepSetting.h"

#include "Support/ScriptedSleepController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;

class PMSetSetting : public testing::Test {
protected:
    std::shared_ptr<ScriptedSleepController> controller = std::make_shared<ScriptedSleepController>();
    PMSetSleepSetting setting{controller};
};

TEST_F(PMSetSetting, IsWrittenOnceForTheScopesTogetherAndEndsForAll) {
    setting.apply({PMSetScope::ac});
    setting.apply({PMSetScope::ac, PMSetScope::battery});
    setting.apply({PMSetScope::battery});
    setting.apply({});
    EXPECT_THAT(*controller->log, ElementsAre("begin ac", "begin all", "begin battery", "end all"));
}

TEST_F(PMSetSetting, AFailureIsThrownUnchanged) {
    controller->failure = "pmset returned 1.";
    try {
        setting.apply({PMSetScope::ac});
        FAIL() << "nothing was thrown";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::commandFailed("pmset returned 1."));
    }
}

} // namespace
} // namespace tavo
