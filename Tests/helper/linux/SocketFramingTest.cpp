#include "helper/linux/SocketFraming.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using namespace std::string_literals;

TEST(SocketFraming, ARequestIsTheLengthMostSignificantByteFirstAndTheBody) {
    EXPECT_EQ(SocketFraming::request(R"({"ping":{}})"), "\0\0\0\x0B{\"ping\":{}}"s);
    EXPECT_EQ(SocketFraming::request(std::string(258, 'x')).substr(0, 5), "\0\0\x01\x02x"s);
    EXPECT_EQ(SocketFraming::request(""), "\0\0\0\0"s);
}

TEST(SocketFraming, AReplyIsItsFlagsAndTheLengthAndBytesOfEachPart) {
    EXPECT_EQ(SocketFraming::reply({"ab", std::nullopt}), "\x01\0\0\0\x02"s + "ab");
    EXPECT_EQ(SocketFraming::reply({std::nullopt, "no"}), "\x02\0\0\0\x02no"s);
    EXPECT_EQ(SocketFraming::reply({"ab", ""}), "\x03\0\0\0\x02"s + "ab" + "\0\0\0\0"s);
    EXPECT_EQ(SocketFraming::reply({}), "\0"s);
}

TEST(SocketFraming, ABodyOfTheLongestLengthPassesAndOneByteMoreDoesNot) {
    const std::string longest(SocketFraming::maxBodySize, 'x');
    EXPECT_EQ(RequestFrameReader().add(SocketFraming::request(longest)), longest);
    EXPECT_THROW(SocketFraming::request(longest + "x"), SocketFramingError);
    EXPECT_THROW(RequestFrameReader().add("\0\x01\0\x01"s), SocketFramingError);
    EXPECT_THROW(RequestFrameReader().add("\xFF\xFF\xFF\xFF"s), SocketFramingError);
}

/// The words of the refusal.
template <typename Operation>
std::string refusalOf(Operation operation) {
    try {
        operation();
    } catch (const SocketFramingError& error) {
        return error.description();
    }
    return "accepted";
}

TEST(SocketFraming, ARefusalSaysHowMuchWasTooMuch) {
    EXPECT_EQ(refusalOf([] { SocketFraming::request(std::string(SocketFraming::maxBodySize + 1, 'x')); }),
              "a command of 65537 bytes is too long: 65536 are allowed.");
    EXPECT_EQ(refusalOf([] { RequestFrameReader().add("\0\x01\0\x01"s); }),
              "a message of 65537 bytes is too long: 65536 are allowed.");
    EXPECT_EQ(refusalOf([] { ReplyFrameReader().add("\x04"); }),
              "the privileged helper answered in a form that this version does not know.");
}

TEST(SocketFraming, AMessageThatIsTooLongIsCut) {
    const auto frame = SocketFraming::reply({std::nullopt, std::string(SocketFraming::maxBodySize + 7, 'm')});
    const auto reply = ReplyFrameReader().add(frame);
    ASSERT_TRUE(reply && reply->message);
    EXPECT_EQ(reply->message->size(), SocketFraming::maxBodySize);
}

TEST(RequestFrameReader, PutsTheBodyTogetherByteByByte) {
    RequestFrameReader reader;
    const auto frame = SocketFraming::request("hello");
    for (std::size_t index = 0; index + 1 < frame.size(); ++index) {
        EXPECT_FALSE(reader.add(frame.substr(index, 1)));
    }
    EXPECT_EQ(reader.add("o"), "hello");
}

TEST(RequestFrameReader, DropsWhatFollowsTheBody) {
    EXPECT_EQ(RequestFrameReader().add(SocketFraming::request("one") + "two"), "one");
}

TEST(RequestFrameReader, AnEmptyBodyIsABody) {
    EXPECT_EQ(RequestFrameReader().add("\0\0\0\0"s), "");
}

TEST(ReplyFrameReader, PutsEveryShapeTogetherByteByByte) {
    for (const auto& reply : {PrivilegedHelperReply{}, PrivilegedHelperReply{"data", std::nullopt},
                              PrivilegedHelperReply{std::nullopt, "message"}, PrivilegedHelperReply{"", ""},
                              PrivilegedHelperReply{"data", "message"}}) {
        ReplyFrameReader reader;
        const auto frame = SocketFraming::reply(reply);
        for (std::size_t index = 0; index + 1 < frame.size(); ++index) {
            EXPECT_FALSE(reader.add(frame.substr(index, 1)));
        }
        EXPECT_EQ(reader.add(frame.substr(frame.size() - 1)), reply);
    }
}

TEST(ReplyFrameReader, RefusesUnknownFlagsAndPartsThatAreTooLong) {
    EXPECT_THROW(ReplyFrameReader().add("\x04"), SocketFramingError);
    EXPECT_THROW(ReplyFrameReader().add("\x83"), SocketFramingError);
    EXPECT_THROW(ReplyFrameReader().add("\x01\0\x01\0\x01"s), SocketFramingError);
}

} // namespace
} // namespace tavo
