#include "system/linux/LogindClient.h"

#include "Support/SystemBusTest.h"
#include "Support/WaitUntil.h"
#include "TavoInhibit/ScriptedLogind.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

struct Inhibitor {
    std::string what;
    std::string who;
    std::string mode;
    std::uint32_t pid = 0;
};

ScriptedBusService::Answer withInhibitors(std::vector<Inhibitor> inhibitors) {
    return [inhibitors = std::move(inhibitors)](sd_bus_message* call) {
        BusMessage reply;
        checked(sd_bus_message_new_method_return(call, Receive(reply)), "make a reply");
        checked(sd_bus_message_open_container(reply.get(), 'a', "(ssssuu)"), "open the list");
        for (const auto& inhibitor : inhibitors) {
            checked(sd_bus_message_append(reply.get(), "(ssssuu)", inhibitor.what.c_str(), inhibitor.who.c_str(),
                                          "some reason", inhibitor.mode.c_str(), 1000U, inhibitor.pid),
                    "add an entry");
        }
        checked(sd_bus_message_close_container(reply.get()), "close the list");
        return sd_bus_send(sd_bus_message_get_bus(call), reply.get(), nullptr);
    };
}

class LogindClientTest : public SystemBusTest {
protected:
    template <typename Question>
    auto ask(Question question) {
        return answered([question = std::move(question)] {
            LogindClient logind;
            return question(logind);
        });
    }

    /// The error of the question.
    template <typename Question>
    BusError failureOf(Question question) {
        try {
            ask(std::move(question));
        } catch (const BusError& error) {
            return error;
        }
        ADD_FAILURE() << "it did not fail";
        return {"", ""};
    }

    static std::vector<HeldAssertion> listed(const LogindClient& logind) { return logind.blockingLocks(); }
    static FileDescriptor idleLock(const LogindClient& logind) { return logind.takeLock("idle", "trying"); }
};

TEST_F(LogindClientTest, OnlyBlockLocksThatCoverSleepAreListed) {
    startService().answer("ListInhibitors", withInhibitors({
                                                {"sleep:idle", "tavo", "block", 10},
                                                {"sleep", "updater", "delay", 11},
                                                {"idle", "player", "block", 12},
                                                {"shutdown", "updater", "block", 13},
                                                {"handle-lid-switch:handle-power-key", "desktop", "block", 14},
                                                {"shutdown:sleep", "a \"who\"\x1B", "block", 15},
                                                {"sleepy:idleness", "odd", "block", 16},
                                                {"", "empty", "block", 17},
                                                {"sleep:idle", "weak", "block-weak", 18},
                                            }));
    EXPECT_THAT(ask(listed),
                ElementsAre(HeldAssertion{.who = "tavo", .what = "sleep:idle", .pid = 10, .uid = 1000},
                            HeldAssertion{.who = "player", .what = "idle", .pid = 12, .uid = 1000},
                            HeldAssertion{.who = "a \"who\"\x1B", .what = "shutdown:sleep", .pid = 15, .uid = 1000}));
    ASSERT_EQ(service->calls().size(), 1U);
    const ScriptedBusService::Call expected{.path = "/org/freedesktop/login1",
                                            .interface = "org.freedesktop.login1.Manager",
                                            .member = "ListInhibitors",
                                            .mayStartService = false};
    EXPECT_EQ(service->calls()[0], expected);
}

TEST_F(LogindClientTest, AnEmptyListIsNoFailure) {
    startService().answer("ListInhibitors", withInhibitors({}));
    EXPECT_THAT(ask(listed), IsEmpty());
}

TEST_F(LogindClientTest, AListOfAnotherFormIsAFailure) {
    startService().answer("ListInhibitors", ScriptedBusService::withCookie(7));
    EXPECT_THAT(failureOf(listed).description(), StartsWith("could not list logind's locks: "));
}

TEST_F(LogindClientTest, ALogindThatRefusesToListIsAFailureWithItsName) {
    startService().answer("ListInhibitors",
                          ScriptedBusService::withError("org.freedesktop.DBus.Error.AccessDenied", "Access denied."));
    const auto failure = failureOf(listed);
    EXPECT_EQ(failure.name(), "org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_EQ(failure.description(), "could not list logind's locks: access denied");
}

TEST_F(LogindClientTest, ASilentLogindIsAFailureAndNoHang) {
    startService().answer("ListInhibitors", ScriptedBusService::never());
    EXPECT_THAT(failureOf(listed).description(), StartsWith("could not list logind's locks: "));
}

TEST_F(LogindClientTest, WithoutLogindNothingIsStartedToAnswer) {
    const auto marker = bus.folder() / "started";
    bus.stop(SIGTERM);
    bus.makeActivatable("org.freedesktop.login1", marker);
    bus.start();
    EXPECT_FALSE(ask([](const LogindClient& logind) { return logind.isRunning(); }));
    EXPECT_THAT(failureOf(listed).description(), StartsWith("could not list logind's locks: "));
    EXPECT_THAT(failureOf(idleLock).description(), StartsWith("logind refused the lock \"idle\": "));
    EXPECT_FALSE(std::filesystem::exists(marker));
}

TEST_F(LogindClientTest, ALogindThatComesAndGoesIsSeen) {
    const auto isRunning = [](const LogindClient& logind) { return logind.isRunning(); };
    startService();
    EXPECT_TRUE(ask(isRunning));
    service->disown("org.freedesktop.login1");
    EXPECT_FALSE(ask(isRunning));
    EXPECT_FALSE(ask([](const LogindClient& logind) { return logind.isPolkitRunning(); }));
    service->own("org.freedesktop.PolicyKit1");
    EXPECT_TRUE(ask([](const LogindClient& logind) { return logind.isPolkitRunning(); }));
}

TEST_F(LogindClientTest, ALockLastsUntilItsDescriptorIsClosed) {
    ScriptedLogind logind(pump, bus.address());
    {
        const auto lock =
            ask([](const LogindClient& client) { return client.takeLock("sleep", "trying out whether it holds"); });
        EXPECT_TRUE(lock);
        EXPECT_EQ(logind.heldLocks(), 1U) << "it outlives the connection";
    }
    EXPECT_EQ(logind.heldLocks(), 0U);
    ASSERT_EQ(logind.calls().size(), 1U);
    EXPECT_EQ(logind.calls()[0].arguments, R"("sleep", "tavo", "trying out whether it holds", "block")");
    EXPECT_FALSE(logind.calls()[0].mayStartService);
}

TEST_F(LogindClientTest, ARefusedLockIsAFailureWithItsName) {
    ScriptedLogind logind(pump, bus.address());
    logind.refuse("sleep", "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired",
                  "Interactive authentication required.");
    const auto failure = failureOf([](const LogindClient& client) { return client.takeLock("sleep", "trying"); });
    EXPECT_EQ(failure.name(), "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired");
    EXPECT_EQ(failure.description(), "logind refused the lock \"sleep\": interactive authentication required");
    EXPECT_EQ(logind.heldLocks(), 0U);
}

TEST_F(LogindClientTest, AnAnswerWithoutALockIsAFailure) {
    ScriptedLogind logind(pump, bus.address());
    logind.answerWithNonsense();
    EXPECT_THAT(failureOf(idleLock).description(), StartsWith("logind refused the lock \"idle\": "));
}

TEST_F(LogindClientTest, TheVersionIsTheServiceManagers) {
    const auto version = [](const LogindClient& logind) { return logind.systemdVersion(); };
    EXPECT_EQ(ask(version), std::nullopt) << "another program runs the system";
    startService("org.freedesktop.systemd1").answer("Get", [](sd_bus_message* call) {
        return sd_bus_reply_method_return(call, "v", "s", "252.39-1~deb12u2");
    });
    EXPECT_EQ(ask(version), "252.39-1~deb12u2");
    ASSERT_EQ(service->calls().size(), 1U);
    EXPECT_EQ(service->calls()[0].arguments, R"("org.freedesktop.systemd1.Manager", "Version")");
}

TEST_F(LogindClientTest, WhetherAUserLingersIsThatUsersOwnProperty) {
    const auto lingers = [](const LogindClient& logind) { return logind.lingers(1000); };
    auto& logind = startService();
    logind.answer("GetUser", ScriptedBusService::withPath("/org/freedesktop/login1/user/_1000"));
    for (const bool isLingering : {false, true}) {
        logind.answer("Get", [isLingering](sd_bus_message* call) {
            return sd_bus_reply_method_return(call, "v", "b", isLingering ? 1 : 0);
        });
        EXPECT_EQ(ask(lingers), isLingering);
    }
    EXPECT_EQ(service->calls().front().arguments, "1000");
    EXPECT_EQ(service->calls().back().path, "/org/freedesktop/login1/user/_1000");
    EXPECT_EQ(service->calls().back().arguments, R"("org.freedesktop.login1.User", "Linger")");
    logind.answer("GetUser", ScriptedBusService::withError("org.freedesktop.login1.NoSuchUser", "No such user."));
    EXPECT_EQ(failureOf(lingers).name(), "org.freedesktop.login1.NoSuchUser");
}

TEST_F(LogindClientTest, WithoutABusThereIsAFailure) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        bus.stop(signal);
        const auto failure = failureOf(listed);
        EXPECT_THAT(failure.description(), AnyOf(StartsWith("there is no system message bus: "),
                                                 StartsWith("could not list logind's locks: ")));
        EXPECT_THROW(LogindLockList().heldAssertions(), BusError);
        bus.start();
    }
}

TEST_F(LogindClientTest, ABusThatEndsUnderAnOpenConnectionIsAFailure) {
    startService();
    const LogindClient logind;
    EXPECT_TRUE(logind.isRunning());
    EXPECT_TRUE(logind.isConnected());
    bus.stop(SIGKILL);
    EXPECT_THROW(logind.blockingLocks(), BusError);
    EXPECT_FALSE(logind.isConnected());
    EXPECT_THROW(static_cast<void>(logind.isRunning()), BusError);
    EXPECT_THROW(logind.takeLock("idle", "trying"), BusError);
}

TEST_F(LogindClientTest, ABoundThatIsChangedHoldsForTheNextCall) {
    startService().answer("ListInhibitors", ScriptedBusService::never());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(failureOf([](LogindClient& logind) {
                    logind.limitCalls(std::chrono::milliseconds(50));
                    return logind.blockingLocks();
                }).description(),
                StartsWith("could not list logind's locks: "));
    EXPECT_LT(std::chrono::steady_clock::now() - start, BusConnection::usualBound);
}

std::atomic<int> signalsHandled{0};

/// The letter of proc(5), "/proc/[pid]/stat": S while it waits.
char stateOfThread(pid_t thread) {
    std::ifstream file(fmt::format("/proc/self/task/{}/stat", thread));
    std::string line;
    std::getline(file, line);
    return line.at(line.rfind(')') + 2);
}

TEST_F(LogindClientTest, ASignalIsHandledAfterTheCallAndDoesNotEndIt) {
    signalsHandled = 0;
    struct sigaction counting {};
    counting.sa_handler = [](int) { ++signalsHandled; };
    struct sigaction before {};
    ASSERT_EQ(sigaction(SIGUSR2, &counting, &before), 0);
    std::atomic<pthread_t> caller{};
    std::atomic<pid_t> callerThread{};
    const auto list = withInhibitors({{"idle", "tavo", "block", 10}});
    startService().answer("ListInhibitors", [&](sd_bus_message* call) {
        EXPECT_TRUE(waitUntil([&] { return stateOfThread(callerThread) == 'S'; }));
        EXPECT_EQ(pthread_kill(caller, SIGUSR2), 0);
        return list(call);
    });
    const auto held = ask([&](const LogindClient& logind) {
        callerThread = gettid();
        caller = pthread_self();
        return logind.blockingLocks();
    });
    EXPECT_EQ(held.size(), 1U);
    EXPECT_EQ(signalsHandled, 1);
    sigaction(SIGUSR2, &before, nullptr);
}

TEST_F(LogindClientTest, TheListOfLocksAsksAnewEveryTime) {
    startService().answer("ListInhibitors", withInhibitors({{"idle", "tavo", "block", 10}}));
    LogindLockList list;
    const auto heldNow = [&] { return ask([&](const LogindClient&) { return list.heldAssertions(); }); };
    EXPECT_EQ(heldNow().size(), 1U);
    service->answer("ListInhibitors", withInhibitors({}));
    EXPECT_THAT(heldNow(), IsEmpty());
}

} // namespace
} // namespace tavo
