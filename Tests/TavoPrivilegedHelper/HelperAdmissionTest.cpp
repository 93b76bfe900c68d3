#include "TavoPrivilegedHelper/HelperAdmission.h"

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedProcessWatching.h"
#include "Support/ScriptedSleepSetting.h"
#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Admission : public testing::Test {
protected:
    void SetUp() override { processes->start(process); }

    /// A caller's message and its answer.
    PrivilegedHelperReply ask(HelperVisit& visit, const std::string& body) {
        if (const auto refusal = visit.receive(body.size())) {
            return *refusal;
        }
        return visit.serve(body);
    }

    static constexpr uid_t consoleUser = 501;
    static constexpr uid_t stranger = 502;
    const ProcessIdentity process{100, 5000};
    const std::string ping = R"({"ping":{}})";
    const std::string pong = R"({"pong":{}})";
    const std::string coverTheLid = R"({"setSleepDisabled":{"scope":"ac","disabled":true}})";

    TemporaryDirectory folder;
    std::shared_ptr<ScriptedSleepSetting> setting = std::make_shared<ScriptedSleepSetting>();
    std::shared_ptr<ScriptedProcessWatching> processes = std::make_shared<ScriptedProcessWatching>();
    std::shared_ptr<HelperService> service = std::make_shared<HelperService>(
        std::make_shared<OverrideKeeper>(setting, SleepOverrideJournal(folder.path() / "overrides.json"),
                                         OverrideKeeper::Surroundings{.processes = processes,
                                                                      .timers = std::make_shared<ManualHelperTimers>(),
                                                                      .isLidClosed = [] { return false; },
                                                                      .log = [](const std::string&) {}}),
        [](uid_t user) { return user == consoleUser ? std::nullopt : std::optional(HelperService::notServed(user)); },
        [] {}, [](const std::string&) {});
    std::shared_ptr<HelperAdmission> admission = HelperAdmission::make(service, processes, {.served = 3, .refused = 2});
};

TEST_F(Admission, TheConsolesUserAndRootAreServed) {
    for (const uid_t user : {consoleUser, uid_t{0}}) {
        EXPECT_EQ(ask(*admission->admit(user, process.pid), ping).data, pong);
    }
}

TEST_F(Admission, AStrangerIsToldAtOnceAndUnreadAndNothingIsServed) {
    const auto visit = admission->admit(stranger, process.pid);
    const auto refusal = visit->receive(HelperService::maxBodySize * 1000);
    ASSERT_TRUE(refusal) << "somebody would have had to serve it";
    EXPECT_FALSE(refusal->data);
    EXPECT_THAT(refusal->message.value_or(""), HasSubstr("does not serve this user (user id 502)"));
}

TEST_F(Admission, StrangersTakeNoPlaceOfThoseWhoAreServedAndTooManyAreDropped) {
    std::vector<std::shared_ptr<HelperVisit>> visits{admission->admit(stranger, process.pid),
                                                     admission->admit(stranger, process.pid)};
    EXPECT_FALSE(admission->admit(stranger, process.pid));
    const auto served = admission->admit(consoleUser, process.pid);
    ASSERT_TRUE(served);
    EXPECT_EQ(ask(*served, ping).data, pong);
    visits.pop_back();
    EXPECT_TRUE(admission->admit(stranger, process.pid));
}

TEST_F(Admission, AConnectionThatHasEndedFreesItsPlaceOnce) {
    std::vector<std::shared_ptr<HelperVisit>> visits;
    for (int count = 0; count < 3; ++count) {
        visits.push_back(admission->admit(consoleUser, process.pid));
    }
    EXPECT_FALSE(admission->admit(consoleUser, process.pid));
    visits.front()->end();
    visits.front()->end();
    visits.push_back(admission->admit(consoleUser, process.pid));
    EXPECT_TRUE(visits.back());
    visits.erase(visits.begin()); // has had its end
    EXPECT_FALSE(admission->admit(consoleUser, process.pid));
}

TEST_F(Admission, ALongCommandIsRefusedBeforeItIsRead) {
    const auto visit = admission->admit(consoleUser, process.pid);
    const auto refusal = visit->receive(HelperService::maxBodySize + 1);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->message, "a command of 65537 bytes is too long: 65536 are allowed.");
    EXPECT_FALSE(admission->admit(consoleUser, process.pid)->receive(HelperService::maxBodySize));
}

TEST_F(Admission, AConnectionCarriesOneCommand) {
    const auto visit = admission->admit(consoleUser, process.pid);
    EXPECT_FALSE(visit->receive(ping.size()));
    EXPECT_THAT(visit->receive(ping.size())->message.value_or(""), HasSubstr("one command")) << "while one waits";
    EXPECT_EQ(visit->serve(ping).data, pong);
    EXPECT_THAT(visit->receive(ping.size())->message.value_or(""), HasSubstr("one command")) << "afterwards";
}

TEST_F(Admission, TheCallerIsTheProcessThatMadeTheConnectionAndNotOneThatHasItsNumberLater) {
    const auto visit = admission->admit(consoleUser, process.pid);
    processes->end(process);
    processes->start({process.pid, 9000});
    EXPECT_EQ(ask(*visit, coverTheLid).data,
              R"({"error":{"_0":"the process that requested the override has ended."}})");
    EXPECT_THAT(setting->log, IsEmpty());
}

TEST_F(Admission, AProcessThatHasEndedBeforeItIsLetInIsNobody) {
    processes->end(process);
    const auto visit = admission->admit(consoleUser, process.pid);
    EXPECT_THAT(ask(*visit, coverTheLid).message.value_or(""), HasSubstr("has ended"));
}

TEST_F(Admission, AnOverrideWhoseCallerHasNotWaitedForItEnds) {
    const auto visit = admission->admit(consoleUser, process.pid);
    setting->onCall = [&] { visit->end(); };
    ask(*visit, coverTheLid);
    EXPECT_THAT(setting->log, ElementsAre("apply ac", "apply none"));
}

TEST_F(Admission, ACallerThatHangsUpWhileItWaitsBehindOthersIsNotServed) {
    const auto visit = admission->admit(consoleUser, process.pid);
    EXPECT_FALSE(visit->receive(coverTheLid.size()));
    visit->end();
    EXPECT_FALSE(visit->serve(coverTheLid).data);
    EXPECT_THAT(setting->log, IsEmpty());
}

TEST_F(Admission, TheDeadlineEndsASilentConnectionButNotOneThatIsBeingServed) {
    const auto silent = admission->admit(consoleUser, process.pid);
    EXPECT_TRUE(silent->retire());
    EXPECT_TRUE(silent->receive(ping.size())) << "came too late";

    const auto busy = admission->admit(consoleUser, process.pid);
    EXPECT_FALSE(busy->receive(ping.size()));
    EXPECT_FALSE(busy->retire());
    EXPECT_EQ(busy->serve(ping).data, pong);
    EXPECT_TRUE(busy->retire());

    EXPECT_TRUE(admission->admit(stranger, process.pid)->retire());
}

} // namespace
} // namespace tavo
