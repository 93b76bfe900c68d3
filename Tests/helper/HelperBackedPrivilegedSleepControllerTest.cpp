#include "helper/HelperBackedPrivilegedSleepController.h"

#include "Support/ScriptedHelperClient.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HelperBackedPrivilegedSleepControllerTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedHelperClient> client = std::make_shared<ScriptedHelperClient>();
    HelperBackedPrivilegedSleepController controller{client, true};
};

TEST_F(HelperBackedPrivilegedSleepControllerTest, TheRequestIsForwarded) {
    client->otherwise = PrivilegedHelperResponse::ok();
    controller.setSleepDisabled(PMSetScope::battery, true);
    controller.setSleepDisabled(PMSetScope::all, false);
    EXPECT_THAT(client->commands, ElementsAre(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, true),
                                              PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, false)));
}

TEST_F(HelperBackedPrivilegedSleepControllerTest, UnavailableItSendsNothing) {
    HelperBackedPrivilegedSleepController unavailable(client, false);
    EXPECT_FALSE(unavailable.isAvailable());
    EXPECT_TRUE(controller.isAvailable());
    try {
        unavailable.setSleepDisabled(PMSetScope::all, true);
        FAIL() << "succeeded";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::closedLidRequiresPrivilege());
    }
    EXPECT_THAT(client->commands, IsEmpty());
}

TEST_F(HelperBackedPrivilegedSleepControllerTest, APongCountsAsSuccess) {
    client->otherwise = PrivilegedHelperResponse::pong();
    EXPECT_NO_THROW(controller.setSleepDisabled(PMSetScope::all, true));
}

TEST_F(HelperBackedPrivilegedSleepControllerTest, TheHelpersErrorIsACommandThatFailed) {
    client->otherwise = PrivilegedHelperResponse::error("pmset returned 1.");
    try {
        controller.setSleepDisabled(PMSetScope::all, true);
        FAIL() << "succeeded";
    } catch (const WakeControlError& error) {
        EXPECT_EQ(error, WakeControlError::commandFailed("pmset returned 1."));
    }
}

TEST_F(HelperBackedPrivilegedSleepControllerTest, AClientsErrorIsThrownUnchanged) {
    client->otherwise = std::make_exception_ptr(PrivilegedHelperClientError::timeout());
    try {
        controller.setSleepDisabled(PMSetScope::all, true);
        FAIL() << "succeeded";
    } catch (const PrivilegedHelperClientError& error) {
        EXPECT_EQ(error, PrivilegedHelperClientError::timeout());
    }
}

} // namespace
} // namespace tavo
