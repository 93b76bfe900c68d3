#include "helper/PrivilegedHelperClient.h"

#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <system_error>
#include <vector>

namespace tavo {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

/// A transport that gives the reply that the test has prepared.
class ScriptedTransport final : public RoundTripHelperClient {
public:
    std::vector<std::string> bodies;
    milliseconds lastBound{0};
    PrivilegedHelperReply reply;
    std::exception_ptr failure;

private:
    PrivilegedHelperReply roundTrip(const std::string& body, milliseconds bound) override {
        bodies.push_back(body);
        lastBound = bound;
        if (failure) {
            std::rethrow_exception(failure);
        }
        return reply;
    }
};

class HelperClient : public testing::Test {
protected:
    ScriptedTransport client;

    PrivilegedHelperResponse ping() { return client.send(PrivilegedHelperCommand::ping()); }

    void expectClientError(const PrivilegedHelperClientError& expected) {
        try {
            ping();
            FAIL() << "a response came";
        } catch (const PrivilegedHelperClientError& error) {
            EXPECT_EQ(error, expected) << error.description();
        }
    }
};

TEST_F(HelperClient, APongIsReturned) {
    client.reply = {.data = R"({"pong":{}})"};
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_THAT(client.bodies, ElementsAre(R"({"ping":{}})"));
}

TEST_F(HelperClient, EachCallSendsItsOwnCommandAndWaitsFiveSeconds) {
    client.reply = {.data = R"({"ok":{}})"};
    client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, true));
    client.send(PrivilegedHelperCommand::resetSupport());
    EXPECT_THAT(client.bodies,
                ElementsAre(R"({"setSleepDisabled":{"scope":"battery","disabled":true}})", R"({"resetSupport":{}})"));
    EXPECT_EQ(client.lastBound, milliseconds{5000});
}

TEST_F(HelperClient, AnErrorResponseIsReturnedNotThrown) {
    client.reply = {.data = R"({"error":{"_0":"pmset returned 1."}})"};
    EXPECT_EQ(ping(), PrivilegedHelperResponse::error("pmset returned 1."));
}

TEST_F(HelperClient, ABodyWithoutExactlyOneCaseIsTheDecodersError) {
    for (const char* body : {"{}", R"({"ok":{},"pong":{}})"}) {
        client.reply = {.data = body};
        try {
            ping();
            FAIL() << body;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
            EXPECT_EQ(error.debugDescription(), "Invalid number of keys found, expected one.");
        }
    }
}

TEST_F(HelperClient, ABodyThatIsNoJSONIsTheDecodersError) {
    client.reply = {.data = ""};
    EXPECT_THROW(ping(), DecodingError);
}

TEST_F(HelperClient, AMessageIsATransportError) {
    client.reply = {.message = "you are not allowed to."};
    expectClientError(PrivilegedHelperClientError::transportError("you are not allowed to."));
}

TEST_F(HelperClient, AnEmptyMessageCountsBeforeData) {
    client.reply = {.data = R"({"pong":{}})", .message = ""};
    expectClientError(PrivilegedHelperClientError::transportError(""));
}

TEST_F(HelperClient, AReplyWithNeitherIsInvalid) {
    expectClientError(PrivilegedHelperClientError::invalidResponse());
}

TEST_F(HelperClient, ATransportsErrorIsThrownUnchanged) {
    client.failure = std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::connection_refused)));
    try {
        ping();
        FAIL() << "nobody listens";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::connection_refused);
    }
}

TEST(PrivilegedHelperClientError, EachHasItsDescription) {
    EXPECT_EQ(PrivilegedHelperClientError::transportError("exactly This").description(), "exactly This");
    EXPECT_EQ(PrivilegedHelperClientError::invalidResponse().description(),
              "the privileged helper returned an invalid response.");
    EXPECT_EQ(PrivilegedHelperClientError::timeout().description(), "timed out waiting for the privileged helper.");
}

} // namespace
} // namespace tavo
