#include "helper/PrivilegedHelperCommandDispatcher.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedSleepController.h"
#include "helper/macos/CommandBackedPrivilegedSleepController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PrivilegedHelperCommandDispatcherTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedSleepController> sleep = std::make_shared<ScriptedSleepController>();
    std::function<void()> onReset = [] {};
    int resets = 0;
    PrivilegedHelperCommandDispatcher dispatcher{sleep, [this] {
                                                     ++resets;
                                                     onReset();
                                                 }};
};

TEST_F(PrivilegedHelperCommandDispatcherTest, APingIsAnsweredAndDoesNothing) {
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::ping()), PrivilegedHelperResponse::pong());
    EXPECT_THAT(*sleep->log, IsEmpty());
    EXPECT_EQ(resets, 0);
}

TEST_F(PrivilegedHelperCommandDispatcherTest, SleepIsSwitched) {
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::ok());
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, false)),
              PrivilegedHelperResponse::ok());
    EXPECT_THAT(*sleep->log, ElementsAre("begin ac", "end battery"));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, AFailureToSwitchIsAResponse) {
    sleep->failure = "pmset returned 1.";
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::error("pmset returned 1."));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, TheControllerItselfRefusesWhenItIsUnavailable) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    const PrivilegedHelperCommandDispatcher unavailable(
        std::make_shared<CommandBackedPrivilegedSleepController>(runner, false), [] {});
    EXPECT_EQ(unavailable.handle(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::error(WakeControlError::closedLidRequiresPrivilege().description()));
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(PrivilegedHelperCommandDispatcherTest, AnUnavailableControllerIsStillAsked) {
    sleep->available = false;
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::ok());
    EXPECT_THAT(*sleep->log, ElementsAre("begin ac"));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, AResetIsHandedOn) {
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::resetSupport()), PrivilegedHelperResponse::ok());
    EXPECT_EQ(resets, 1);
    EXPECT_THAT(*sleep->log, IsEmpty());
}

TEST_F(PrivilegedHelperCommandDispatcherTest, AResetThatFailsIsAResponseNotAMessage) {
    onReset = [] { throw std::runtime_error("no shell here."); };
    EXPECT_EQ(dispatcher.reply(R"({"resetSupport":{}})"),
              (PrivilegedHelperReply{.data = R"({"error":{"_0":"no shell here."}})"}));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, WhateverIsThrownBecomesAResponse) {
    onReset = [] { throw 7; };
    EXPECT_EQ(dispatcher.handle(PrivilegedHelperCommand::resetSupport()),
              PrivilegedHelperResponse::error("the privileged helper failed for an unknown reason."));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, AnEncodedCommandGetsAnEncodedResponse) {
    EXPECT_EQ(dispatcher.reply(R"({"ping":{}})"), (PrivilegedHelperReply{.data = R"({"pong":{}})"}));
    EXPECT_EQ(dispatcher.reply(R"({"setSleepDisabled":{"scope":"all","disabled":true}})"),
              (PrivilegedHelperReply{.data = R"({"ok":{}})"}));
    EXPECT_THAT(*sleep->log, ElementsAre("begin all"));
}

TEST_F(PrivilegedHelperCommandDispatcherTest, WhatIsNoCommandGetsAMessageAndDoesNothing) {
    EXPECT_EQ(dispatcher.reply("{}"),
              (PrivilegedHelperReply{.message = "Invalid number of keys found, expected one."}));
    for (const char* body : {"", "{", "ping", R"({"ok":{}})", R"({"setSleepDisabled":{"scope":"all"}})"}) {
        const auto reply = dispatcher.reply(body);
        EXPECT_FALSE(reply.data) << body;
        EXPECT_TRUE(reply.message) << body;
    }
    EXPECT_THAT(*sleep->log, IsEmpty());
    EXPECT_EQ(resets, 0);
}

} // namespace
} // namespace tavo
