#include "helper/PrivilegedHelperExchange.h"

#include "Support/EventLog.h"
#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <system_error>
#include <thread>

namespace tavo {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

using Slot = std::shared_ptr<PrivilegedHelperReplySlot>;

/// A clock that stands still until somebody waits; then it runs through what was planned.
class ManualClock final : public PrivilegedHelperReplyWaiting {
public:
    void at(milliseconds moment, std::function<void()> event) { events.emplace(now + moment, std::move(event)); }

    bool waitForSignal(const PrivilegedHelperReplySlot& slot, milliseconds bound) override {
        runUntil(now + bound, [&slot] { return slot.isSignalled(); });
        return slot.isSignalled();
    }

    void runUntil(
        milliseconds moment, const std::function<bool()>& isDone = [] { return false; }) {
        while (!isDone()) {
            if (events.empty() || events.begin()->first > moment) {
                now = moment;
                return;
            }
            auto event = events.extract(events.begin());
            now = event.key();
            event.mapped()();
        }
    }

    milliseconds now{0};

private:
    std::multimap<milliseconds, std::function<void()>> events;
};

/// A transport that does what the test says once a command is sent.
class ScriptedTransport final : public PrivilegedHelperTransport {
public:
    std::unique_ptr<PrivilegedHelperConnection> connect() override {
        log.push_back("connect");
        if (refusal) {
            std::rethrow_exception(refusal);
        }
        return std::make_unique<Connection>(*this);
    }

    EventLog log;
    bool hasProxy = true;
    std::function<void(Slot)> onSend = [](const Slot&) {};
    std::exception_ptr refusal;

private:
    class Connection final : public PrivilegedHelperConnection {
    public:
        explicit Connection(ScriptedTransport& transport) : transport(transport) {}

        bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) override {
            if (!transport.hasProxy) {
                return false;
            }
            transport.log.push_back("send " + body);
            transport.onSend(std::move(slot));
            return true;
        }
        void invalidate() noexcept override { transport.log.push_back("invalidate"); }

    private:
        ScriptedTransport& transport;
    };
};

class PrivilegedHelperExchangeTest : public testing::Test {
protected:
    std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    PrivilegedHelperExchange client{transport, clock};

    void answer(const PrivilegedHelperReply& reply, milliseconds after = milliseconds{1}) {
        transport->onSend = [this, reply, after](const Slot& slot) {
            clock->at(after, [slot, reply] { slot->receive(reply); });
        };
    }

    PrivilegedHelperResponse ping() { return client.send(PrivilegedHelperCommand::ping()); }

    void expectClientError(const PrivilegedHelperClientError& expected) {
        try {
            ping();
            FAIL() << "a response came";
        } catch (const PrivilegedHelperClientError& error) {
            EXPECT_EQ(error, expected) << error.description();
        }
        EXPECT_EQ(transport->log.back(), "invalidate");
    }
};

TEST_F(PrivilegedHelperExchangeTest, APongIsReturned) {
    answer({.data = R"({"pong":{}})"});
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_THAT(transport->log, ElementsAre("connect", R"(send {"ping":{}})", "invalidate"));
}

TEST_F(PrivilegedHelperExchangeTest, EachCallHasAConnectionOfItsOwn) {
    answer({.data = R"({"ok":{}})"});
    client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, true));
    client.send(PrivilegedHelperCommand::resetSupport());
    EXPECT_THAT(transport->log,
                ElementsAre("connect", R"(send {"setSleepDisabled":{"scope":"battery","disabled":true}})", "invalidate",
                            "connect", R"(send {"resetSupport":{}})", "invalidate"));
}

TEST_F(PrivilegedHelperExchangeTest, AnErrorResponseIsReturnedNotThrown) {
    answer({.data = R"({"error":{"_0":"pmset returned 1."}})"});
    EXPECT_EQ(ping(), PrivilegedHelperResponse::error("pmset returned 1."));
}

TEST_F(PrivilegedHelperExchangeTest, ABodyWithoutExactlyOneCaseIsTheDecodersError) {
    for (const char* body : {"{}", R"({"ok":{},"pong":{}})"}) {
        answer({.data = body});
        try {
            ping();
            FAIL() << body;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
            EXPECT_EQ(error.debugDescription(), "Invalid number of keys found, expected one.");
        }
        EXPECT_EQ(transport->log.back(), "invalidate");
    }
}

TEST_F(PrivilegedHelperExchangeTest, ABodyThatIsNoJSONIsTheDecodersError) {
    answer({.data = ""});
    EXPECT_THROW(ping(), DecodingError);
    EXPECT_EQ(transport->log.back(), "invalidate");
}

TEST_F(PrivilegedHelperExchangeTest, AMessageIsATransportError) {
    answer({.message = "you are not allowed to."});
    expectClientError(PrivilegedHelperClientError::transportError("you are not allowed to."));
}

TEST_F(PrivilegedHelperExchangeTest, AnEmptyMessageCountsBeforeData) {
    answer({.data = R"({"pong":{}})", .message = ""});
    expectClientError(PrivilegedHelperClientError::transportError(""));
}

TEST_F(PrivilegedHelperExchangeTest, AReplyWithNeitherIsInvalid) {
    answer({});
    expectClientError(PrivilegedHelperClientError::invalidResponse());
}

TEST_F(PrivilegedHelperExchangeTest, AnEndWithoutAReplyIsInvalid) {
    transport->onSend = [](const Slot& slot) { slot->end(); };
    expectClientError(PrivilegedHelperClientError::invalidResponse());
}

TEST_F(PrivilegedHelperExchangeTest, AnEndAfterAReplyLeavesTheReply) {
    transport->onSend = [](const Slot& slot) {
        slot->receive({.data = R"({"ok":{}})"});
        slot->end();
    };
    EXPECT_EQ(ping(), PrivilegedHelperResponse::ok());
}

TEST_F(PrivilegedHelperExchangeTest, AConnectionErrorIsThrownAsItIsLongBeforeTheBound) {
    transport->onSend = [this](const Slot& slot) {
        clock->at(milliseconds{3}, [slot] {
            slot->fail(std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::connection_refused))));
        });
    };
    try {
        ping();
        FAIL() << "nobody listens";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::connection_refused);
    }
    EXPECT_EQ(clock->now, milliseconds{3});
    EXPECT_EQ(transport->log.back(), "invalidate");
}

TEST_F(PrivilegedHelperExchangeTest, ARefusedConnectionIsThrownAtOnce) {
    transport->refusal =
        std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::no_such_file_or_directory)));
    EXPECT_THROW(ping(), std::system_error);
    EXPECT_THAT(transport->log, ElementsAre("connect"));
    EXPECT_EQ(clock->now, milliseconds{0});
}

TEST_F(PrivilegedHelperExchangeTest, AnErrorWhileSendingStillGivesUpTheConnection) {
    transport->onSend = [](const Slot&) { throw std::system_error(std::make_error_code(std::errc::broken_pipe)); };
    EXPECT_THROW(ping(), std::system_error);
    EXPECT_EQ(transport->log.back(), "invalidate");
}

TEST_F(PrivilegedHelperExchangeTest, AProxyOfTheWrongKindIsATransportError) {
    transport->hasProxy = false;
    expectClientError(
        PrivilegedHelperClientError::transportError("failed to create a proxy for the privileged helper."));
    EXPECT_THAT(transport->log, ElementsAre("connect", "invalidate"));
}

TEST_F(PrivilegedHelperExchangeTest, SilenceForFiveSecondsIsATimeout) {
    expectClientError(PrivilegedHelperClientError::timeout());
    EXPECT_EQ(clock->now, milliseconds{5000});
}

TEST_F(PrivilegedHelperExchangeTest, AReplyJustInTimeCounts) {
    answer({.data = R"({"pong":{}})"}, milliseconds{4999});
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(clock->now, milliseconds{4999});
}

TEST_F(PrivilegedHelperExchangeTest, ALateReplyIsDroppedAndDoesNotReachTheNextCall) {
    answer({.data = R"({"ok":{}})"}, milliseconds{5001});
    expectClientError(PrivilegedHelperClientError::timeout());
    answer({.data = R"({"pong":{}})"}, milliseconds{10});
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(clock->now, milliseconds{5010});
}

TEST_F(PrivilegedHelperExchangeTest, ALateErrorIsDropped) {
    std::weak_ptr<PrivilegedHelperReplySlot> dropped;
    transport->onSend = [&](const Slot& slot) {
        dropped = slot;
        clock->at(milliseconds{6000}, [slot] { slot->fail(std::make_exception_ptr(std::runtime_error("late"))); });
    };
    expectClientError(PrivilegedHelperClientError::timeout());
    EXPECT_FALSE(dropped.expired());
    clock->runUntil(milliseconds{7000});
    EXPECT_TRUE(dropped.expired());
}

TEST_F(PrivilegedHelperExchangeTest, TheLastOutcomeBeforeTheCallerLooksStands) {
    transport->onSend = [](const Slot& slot) {
        slot->fail(std::make_exception_ptr(std::runtime_error("interrupted")));
        slot->receive({.data = R"({"pong":{}})"});
    };
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    transport->onSend = [](const Slot& slot) {
        slot->receive({.data = R"({"pong":{}})"});
        slot->fail(std::make_exception_ptr(std::runtime_error("interrupted")));
    };
    EXPECT_THROW(ping(), std::runtime_error);
}

TEST(PrivilegedHelperExchange, AReplyFromAnotherThreadEndsTheWait) {
    const auto transport = std::make_shared<ScriptedTransport>();
    std::thread helper;
    transport->onSend = [&helper](const Slot& slot) {
        helper = std::thread([slot] { slot->receive({.data = R"({"pong":{}})"}); });
    };
    PrivilegedHelperExchange client(transport);
    EXPECT_EQ(client.send(PrivilegedHelperCommand::ping()), PrivilegedHelperResponse::pong());
    helper.join();
}

TEST(PrivilegedHelperReplySlot, ABoundThatPassesWithoutASignalSaysSo) {
    PrivilegedHelperReplySlot slot;
    EXPECT_FALSE(slot.waitForSignal(milliseconds{1}));
    EXPECT_FALSE(slot.isSignalled());
    slot.end();
    EXPECT_TRUE(slot.waitForSignal(milliseconds{0}));
    EXPECT_TRUE(slot.isSignalled());
}

TEST(PrivilegedHelperClientError, EachHasItsDescription) {
    EXPECT_EQ(PrivilegedHelperClientError::transportError("exactly This").description(), "exactly This");
    EXPECT_EQ(PrivilegedHelperClientError::invalidResponse().description(),
              "the privileged helper returned an invalid response.");
    EXPECT_EQ(PrivilegedHelperClientError::timeout().description(), "timed out waiting for the privileged helper.");
}

} // namespace
} // namespace tavo
