#include "TavoPrivilegedHelper/HelperService.h"

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "Support/ScriptedSleepController.h"
#include "Support/TemporaryDirectory.h"
#include "base/DescribedError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Service : public testing::Test {
protected:
    void SetUp() override { processes->start(caller.process); }

    static constexpr uid_t installingUser = 1000;
    const HelperCaller caller{installingUser, {100, 5000}};

    TemporaryDirectory folder;
    std::shared_ptr<ScriptedSleepController> setting = std::make_shared<ScriptedSleepController>();
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<OverrideKeeper> keeper =
        std::make_shared<OverrideKeeper>(setting, SleepOverrideJournal(folder.path() / "overrides.json"),
                                         OverrideKeeper::Surroundings{.processes = processes,
                                                                      .timers = std::make_shared<ManualHelperTimers>(),
                                                                      .isLidClosed = [] { return false; },
                                                                      .log = [](const std::string&) {}});
    int resets = 0;
    std::optional<std::string> resetFailure;
    HelperService service{keeper, [](uid_t user) { return user == installingUser; },
                          [this] {
                              ++resets;
                              if (resetFailure) {
                                  throw DescribedError(*resetFailure);
                              }
                          }};
};

TEST_F(Service, AnswersAPing) {
    EXPECT_EQ(service.serve(caller, R"({"ping":{}})"), (PrivilegedHelperReply{R"({"pong":{}})", std::nullopt}));
}

TEST_F(Service, TiesAnOverrideToTheProcessThatAskedForIt) {
    EXPECT_EQ(service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})").data, R"({"ok":{}})");
    EXPECT_THAT(*setting->log, ElementsAre("sleep off ac"));
    processes->end(caller.process);
    EXPECT_THAT(*setting->log, ElementsAre("sleep off ac", "sleep on ac"));
}

TEST_F(Service, AFailureIsAResponse) {
    setting->failure = "logind refused.";
    EXPECT_EQ(service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})").data,
              R"({"error":{"_0":"logind refused."}})");
}

TEST_F(Service, ServesRootAndTheUserItIsForAndNobodyElse) {
    EXPECT_FALSE(service.refusal(0));
    EXPECT_FALSE(service.refusal(installingUser));
    const auto stranger = HelperCaller{1001, caller.process};
    const auto reply = service.serve(stranger, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    EXPECT_FALSE(reply.data);
    EXPECT_THAT(reply.message.value_or(""), HasSubstr("user id 1001"));
    EXPECT_THAT(*setting->log, IsEmpty());
}

TEST_F(Service, WhatIsNoCommandGetsAMessage) {
    for (const auto* body :
         {"", "{}", "[]", "null", R"({"ping":{},"resetSupport":{}})", R"({"setSleepDisabled":{}})"}) {
        const auto reply = service.serve(caller, body);
        EXPECT_FALSE(reply.data) << body;
        EXPECT_TRUE(reply.message && !reply.message->empty()) << body;
    }
    EXPECT_THAT(*setting->log, IsEmpty());
    EXPECT_EQ(resets, 0);
}

TEST_F(Service, ACommandThatIsTooLongIsRefusedUnread) {
    const std::string padding(HelperService::longestBody - std::string(R"({"ping":{}})").size(), ' ');
    EXPECT_TRUE(service.serve(caller, R"({"ping":{}})" + padding).data);
    const auto reply = service.serve(caller, R"({"ping":{}})" + padding + " ");
    EXPECT_FALSE(reply.data);
    EXPECT_THAT(reply.message.value_or(""), HasSubstr("too long"));
}

TEST_F(Service, ResetsAndSaysWhenThatFails) {
    EXPECT_EQ(service.serve(caller, R"({"resetSupport":{}})").data, R"({"ok":{}})");
    resetFailure = "no shell.";
    EXPECT_EQ(service.serve(caller, R"({"resetSupport":{}})").data, R"({"error":{"_0":"no shell."}})");
    EXPECT_EQ(resets, 2);
}

} // namespace
} // namespace tavo
