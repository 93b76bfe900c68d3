#include "TavoPrivilegedHelper/HelperService.h"

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "Support/ScriptedSleepSetting.h"
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
    std::shared_ptr<ScriptedSleepSetting> setting = std::make_shared<ScriptedSleepSetting>();
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<OverrideKeeper> keeper =
        std::make_shared<OverrideKeeper>(setting, SleepOverrideJournal(folder.path() / "overrides.json"),
                                         OverrideKeeper::Surroundings{.processes = processes,
                                                                      .timers = std::make_shared<ManualHelperTimers>(),
                                                                      .isLidClosed = [] { return false; },
                                                                      .log = [](const std::string&) {}});
    int resets = 0;
    std::optional<std::string> resetFailure;
    std::vector<std::string> lines;
    HelperService service{keeper,
                          [](uid_t user) {
                              return user == installingUser ? std::nullopt
                                                            : std::optional(HelperService::notServed(user));
                          },
                          [this] {
                              ++resets;
                              if (resetFailure) {
                                  throw DescribedError(*resetFailure);
                              }
                          },
                          [this](const std::string& line) { lines.push_back(line); }};
};

TEST_F(Service, AnswersAPing) {
    EXPECT_EQ(service.serve(caller, R"({"ping":{}})"), (PrivilegedHelperReply{R"({"pong":{}})", std::nullopt}));
}

TEST_F(Service, TiesAnOverrideToTheProcessThatBeganIt) {
    EXPECT_EQ(service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})").data, R"({"ok":{}})");
    EXPECT_THAT(setting->log, ElementsAre("apply ac"));
    processes->end(caller.process);
    EXPECT_THAT(setting->log, ElementsAre("apply ac", "apply none"));
}

TEST_F(Service, AFailureIsAResponse) {
    setting->failure = "logind refused.";
    EXPECT_EQ(service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})").data,
              R"({"error":{"_0":"logind refused."}})");
}

TEST_F(Service, ServesRootAndTheUserItIsForAndNobodyElse) {
    EXPECT_FALSE(service.refusal(0, caller.process.pid));
    EXPECT_FALSE(service.refusal(installingUser, caller.process.pid));
    const auto stranger = HelperCaller{1001, caller.process};
    const auto reply = service.serve(stranger, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    EXPECT_FALSE(reply.data);
    EXPECT_THAT(reply.message.value_or(""), HasSubstr("user id 1001"));
    EXPECT_THAT(setting->log, IsEmpty());
}

TEST_F(Service, LogsWhatIsGrantedEndedAndRefusedWithUserProcessAndScope) {
    service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":false}})");
    service.serve({1001, caller.process}, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    setting->failure = "logind refused.";
    service.serve(caller, R"({"setSleepDisabled":{"scope":"battery","disabled":true}})");
    service.serve(caller, "[]");
    EXPECT_THAT(lines,
                ElementsAre("process 100 of user 1000 began an override for ac.",
                            "process 100 of user 1000 ended its override for ac.",
                            "process 100 of user 1001 was refused unread: the privileged helper does not serve this "
                            "user (user id 1001).",
                            "process 100 of user 1000 could not begin an override for battery: logind refused.",
                            testing::StartsWith("process 100 of user 1000 was refused, it sent no command: ")));
}

TEST_F(Service, LogsARemovalAndOneThatFailed) {
    service.serve(caller, R"({"resetSupport":{}})");
    resetFailure = "no shell.\nof \x1b[31mours";
    service.serve(caller, R"({"resetSupport":{}})");
    EXPECT_THAT(lines,
                ElementsAre("process 100 of user 1000 has the helper removed.",
                            "process 100 of user 1000 asked for the helper's removal, which failed: no shell.^Jof "
                            "^[[31mours"));
}

TEST_F(Service, AFloodOfRefusalsFillsNoLogAndHidesNoGrant) {
    for (int count = 0; count < 1000; ++count) {
        service.serve({1001, caller.process}, R"({"ping":{}})");
    }
    EXPECT_LE(lines.size(), 2 * BoundedLog::burst);
    service.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    EXPECT_EQ(lines.back(), "process 100 of user 1000 began an override for ac.");
}

TEST_F(Service, APingIsNotWorthALine) {
    service.serve(caller, R"({"ping":{}})");
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Service, WhatIsNoCommandGetsAMessage) {
    for (const auto* body :
         {"", "{}", "[]", "null", R"({"ping":{},"resetSupport":{}})", R"({"setSleepDisabled":{}})"}) {
        const auto reply = service.serve(caller, body);
        EXPECT_FALSE(reply.data) << body;
        EXPECT_TRUE(reply.message && !reply.message->empty()) << body;
    }
    EXPECT_THAT(setting->log, IsEmpty());
    EXPECT_EQ(resets, 0);
}

TEST_F(Service, ACommandThatIsTooLongIsRefusedUnread) {
    const std::string padding(HelperService::maxBodySize - std::string(R"({"ping":{}})").size(), ' ');
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

TEST_F(Service, ARequestHasATimeBudgetAndNothingElseHas) {
    constexpr std::chrono::milliseconds usual{2000};
    const auto budget = std::make_shared<TimeBudget>(std::chrono::milliseconds(500));
    const HelperService bounded(
        keeper, [](uid_t) { return std::nullopt; }, [] {}, [](const std::string&) {}, budget);
    std::vector<std::chrono::milliseconds> bounds;
    setting->onCall = [&] { bounds.push_back(budget->boundOf(usual)); };
    bounded.serve(caller, R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    ASSERT_EQ(bounds.size(), 1U);
    EXPECT_LE(bounds[0], std::chrono::milliseconds(500));
    processes->end(caller.process);
    ASSERT_EQ(bounds.size(), 2U);
    EXPECT_EQ(bounds[1], usual);
}

} // namespace
} // namespace tavo
