#include "helper/PrivilegedHelperResponse.h"

#include "base/JsonCoding.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(PrivilegedHelperResponse, IsEncodedByteForByte) {
    EXPECT_EQ(PrivilegedHelperResponse::ok().encoded(), R"({"ok":{}})");
    EXPECT_EQ(PrivilegedHelperResponse::pong().encoded(), R"({"pong":{}})");
    EXPECT_EQ(PrivilegedHelperResponse::error("text").encoded(), R"({"error":{"_0":"text"}})");
    EXPECT_EQ(PrivilegedHelperResponse::error("").encoded(), R"({"error":{"_0":""}})");
    EXPECT_EQ(PrivilegedHelperResponse::error("\"q\"\né\x01").encoded(),
              "{\"error\":{\"_0\":\"\\\"q\\\"\\né\\u0001\"}}");
    EXPECT_EQ(PrivilegedHelperResponse::error("a\xFFz").encoded(), "{\"error\":{\"_0\":\"a\uFFFDz\"}}");
}

TEST(PrivilegedHelperResponse, IsReadBackAsItWasWritten) {
    for (const auto& response :
         {PrivilegedHelperResponse::ok(), PrivilegedHelperResponse::pong(), PrivilegedHelperResponse::error(""),
          PrivilegedHelperResponse::error("pmset returned 1."),
          PrivilegedHelperResponse::error("\"\\\n\té" + std::string(1, '\0'))}) {
        EXPECT_EQ(PrivilegedHelperResponse::decode(response.encoded()), response) << response.encoded();
    }
    EXPECT_NE(PrivilegedHelperResponse::ok(), PrivilegedHelperResponse::pong());
    EXPECT_NE(PrivilegedHelperResponse::error("a"), PrivilegedHelperResponse::error("b"));
}

TEST(PrivilegedHelperResponse, UnknownKeysDoNotMatter) {
    EXPECT_EQ(PrivilegedHelperResponse::decode(R"({"ok":{"x":1},"since":2})"), PrivilegedHelperResponse::ok());
    EXPECT_EQ(PrivilegedHelperResponse::decode(R"({"error":{"_1":"b","_0":"a"}})"),
              PrivilegedHelperResponse::error("a"));
}

void expectDecodingError(const std::string& text, DecodingError::Kind kind, const std::string& description) {
    try {
        PrivilegedHelperResponse::decode(text);
        FAIL() << text << " decoded";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.kind(), kind) << text;
        EXPECT_EQ(error.description(), description) << text;
    }
}

TEST(PrivilegedHelperResponse, AnythingButOneKnownCaseIsATypeMismatch) {
    for (const char* text : {"{}", R"({"ok":{},"pong":{}})", R"({"nothing":{}})", R"({"OK":{}})",
                             R"({"ok":{},"pong":{},"error":{"_0":""}})", R"({"ping":{}})"}) {
        expectDecodingError(text, DecodingError::Kind::typeMismatch, "Invalid number of keys found, expected one.");
    }
}

TEST(PrivilegedHelperResponse, AFieldThatIsMissingOrOfAnotherTypeIsNamed) {
    using Kind = DecodingError::Kind;
    expectDecodingError(R"({"error":{}})", Kind::keyNotFound, "error._0: the key is missing.");
    expectDecodingError(R"({"error":{"message":"a"}})", Kind::keyNotFound, "error._0: the key is missing.");
    expectDecodingError(R"({"error":{"_0":1}})", Kind::typeMismatch, "error._0: expected a string but found a number.");
    expectDecodingError(R"({"error":{"_0":null}})", Kind::valueNotFound, "error._0: expected a value but found null.");
    expectDecodingError(R"({"error":"a"})", Kind::typeMismatch, "error: expected an object but found a string.");
    expectDecodingError(R"({"pong":null})", Kind::valueNotFound, "pong: expected an object but found null.");
    expectDecodingError("[\"ok\"]", Kind::typeMismatch, "expected an object but found an array.");
}

} // namespace
} // namespace tavo
