#include "helper/macos/PrivilegedHelperExchange.h"

#include "Support/EventLog.h"
#include "helper/PrivilegedHelperClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tavo {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

using Slot = std::shared_ptr<PrivilegedHelperReplySlot>;

/// For calls whose outcome is there before they wait, and for those that end in time all the same.
constexpr milliseconds ample{60000};

const PrivilegedHelperReply pong{.data = R"({"pong":{}})"};

/// A connection that does what the test says once a command is sent.
class ScriptedConnection final : public PrivilegedHelperConnection {
public:
    bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) override {
        if (!hasProxy) {
            return false;
        }
        log.push_back("send " + body);
        onSend(std::move(slot));
        return true;
    }
    void invalidate() noexcept override { log.push_back("invalidate"); }

    EventLog log;
    bool hasProxy = true;
    std::function<void(Slot)> onSend = [](const Slot&) {};
};

class HelperExchange : public testing::Test {
protected:
    ScriptedConnection connection;

    PrivilegedHelperReply ping(milliseconds bound = ample) { return exchange(connection, "ping", bound); }

    void expectClientError(const PrivilegedHelperClientError& expected, milliseconds bound) {
        try {
            ping(bound);
            FAIL() << "a reply came";
        } catch (const PrivilegedHelperClientError& error) {
            EXPECT_EQ(error, expected) << error.description();
        }
        EXPECT_EQ(connection.log.back(), "invalidate");
    }
};

TEST_F(HelperExchange, TheReplyIsGivenAndTheConnectionClosed) {
    connection.onSend = [](const Slot& slot) { slot->receive(pong); };
    EXPECT_EQ(ping(), pong);
    EXPECT_THAT(connection.log, ElementsAre("send ping", "invalidate"));
}

TEST_F(HelperExchange, AReplyWithNeitherPartIsAReply) {
    connection.onSend = [](const Slot& slot) { slot->receive({}); };
    EXPECT_EQ(ping(), PrivilegedHelperReply{});
}

TEST_F(HelperExchange, AConnectionErrorIsThrownUnchangedLongBeforeTheBound) {
    connection.onSend = [](const Slot& slot) {
        slot->fail(std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::connection_refused))));
    };
    try {
        ping();
        FAIL() << "nobody listens";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::connection_refused);
    }
    EXPECT_EQ(connection.log.back(), "invalidate");
}

TEST_F(HelperExchange, AnErrorWhileSendingStillClosesTheConnection) {
    connection.onSend = [](const Slot&) { throw std::system_error(std::make_error_code(std::errc::broken_pipe)); };
    EXPECT_THROW(ping(), std::system_error);
    EXPECT_EQ(connection.log.back(), "invalidate");
}

TEST_F(HelperExchange, AProxyOfTheWrongKindIsATransportError) {
    connection.hasProxy = false;
    expectClientError(
        PrivilegedHelperClientError::transportError("failed to create a proxy for the privileged helper."), ample);
    EXPECT_THAT(connection.log, ElementsAre("invalidate"));
}

TEST_F(HelperExchange, SilenceUntilTheBoundIsATimeout) {
    expectClientError(PrivilegedHelperClientError::timeout(), milliseconds{1});
}

TEST_F(HelperExchange, ALateReplyIsDroppedAndDoesNotReachTheNextCall) {
    Slot late;
    connection.onSend = [&](const Slot& slot) { late = slot; };
    expectClientError(PrivilegedHelperClientError::timeout(), milliseconds{1});
    connection.onSend = [&](const Slot& slot) {
        late->receive({.data = R"({"ok":{}})"});
        slot->receive(pong);
    };
    EXPECT_EQ(ping(), pong);
}

TEST_F(HelperExchange, ALateErrorIsDroppedWithItsSlot) {
    std::function<void()> failLate;
    std::weak_ptr<PrivilegedHelperReplySlot> dropped;
    connection.onSend = [&](const Slot& slot) {
        dropped = slot;
        failLate = [slot] { slot->fail(std::make_exception_ptr(std::runtime_error("late"))); };
    };
    expectClientError(PrivilegedHelperClientError::timeout(), milliseconds{1});
    EXPECT_FALSE(dropped.expired());
    failLate();
    failLate = {};
    EXPECT_TRUE(dropped.expired());
}

TEST_F(HelperExchange, TheLastOutcomeBeforeTheCallerReadsCounts) {
    connection.onSend = [](const Slot& slot) {
        slot->fail(std::make_exception_ptr(std::runtime_error("interrupted")));
        slot->receive(pong);
    };
    EXPECT_EQ(ping(), pong);
    connection.onSend = [](const Slot& slot) {
        slot->receive(pong);
        slot->fail(std::make_exception_ptr(std::runtime_error("interrupted")));
    };
    EXPECT_THROW(ping(), std::runtime_error);
}

TEST_F(HelperExchange, AReplyFromAnotherThreadEndsTheWait) {
    std::thread helper;
    connection.onSend = [&helper](const Slot& slot) { helper = std::thread([slot] { slot->receive(pong); }); };
    EXPECT_EQ(ping(), pong);
    helper.join();
}

TEST(PrivilegedHelperReplySlot, ABoundThatPassesWithoutAnOutcomeSaysSo) {
    PrivilegedHelperReplySlot slot;
    EXPECT_EQ(slot.wait(milliseconds{1}), std::nullopt);
    slot.receive(pong);
    EXPECT_EQ(slot.wait(milliseconds{0}), pong);
}

} // namespace
} // namespace tavo
