#include "helper/PrivilegedHelperMessages.h"

#include "base/JsonCoding.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

struct CommandText {
    PrivilegedHelperCommand command;
    std::string text;
};

const std::vector<CommandText> everyCommand{
    {PrivilegedHelperCommand::ping(), R"({"ping":{}})"},
    {PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true),
     R"({"setSleepDisabled":{"scope":"ac","disabled":true}})"},
    {PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, false),
     R"({"setSleepDisabled":{"scope":"all","disabled":false}})"},
    {PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, true),
     R"({"setSleepDisabled":{"scope":"battery","disabled":true}})"},
    {PrivilegedHelperCommand::resetSupport(), R"({"resetSupport":{}})"},
};

TEST(PrivilegedHelperCommand, IsEncodedByteForByte) {
    for (const auto& [command, text] : everyCommand) {
        EXPECT_EQ(command.encoded(), text);
    }
}

TEST(PrivilegedHelperCommand, IsReadBackAsItWasWritten) {
    for (const auto& [command, text] : everyCommand) {
        EXPECT_EQ(PrivilegedHelperCommand::decode(text), command) << text;
    }
}

TEST(PrivilegedHelperCommand, CommandsDifferByTheirCaseAndByTheirFields) {
    for (std::size_t first = 0; first < everyCommand.size(); ++first) {
        for (std::size_t second = 0; second < everyCommand.size(); ++second) {
            EXPECT_EQ(everyCommand[first].command == everyCommand[second].command, first == second);
        }
    }
}

TEST(PrivilegedHelperCommand, UnknownKeysAndOrderDoNotMatter) {
    EXPECT_EQ(PrivilegedHelperCommand::decode(R"({"later":1,"ping":{}})"), PrivilegedHelperCommand::ping());
    EXPECT_EQ(PrivilegedHelperCommand::decode(R"({"ping":{"later":[]}})"), PrivilegedHelperCommand::ping());
    EXPECT_EQ(
        PrivilegedHelperCommand::decode(R"( {"setSleepDisabled": {"x": null, "disabled": false, "scope": "ac"}} )"),
        PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, false));
}

struct BadCommand {
    std::string text;
    DecodingError::Kind kind;
    std::string path;
    std::string debugDescription;
};

std::ostream& operator<<(std::ostream& out, const BadCommand& bad) {
    return out << bad.text;
}

class BadCommands : public testing::TestWithParam<BadCommand> {};

TEST_P(BadCommands, AreDecodingErrorsThatSayWhatIsWrong) {
    try {
        PrivilegedHelperCommand::decode(GetParam().text);
        FAIL() << "decoded";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.kind(), GetParam().kind);
        EXPECT_EQ(error.path(), GetParam().path);
        EXPECT_EQ(error.debugDescription(), GetParam().debugDescription);
    }
}

using Kind = DecodingError::Kind;
const std::string oneKey = "Invalid number of keys found, expected one.";

INSTANTIATE_TEST_SUITE_P(
    PrivilegedHelperCommand, BadCommands,
    testing::Values(
        BadCommand{"{}", Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"unknown":{}})", Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"Ping":{}})", Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"ok":{}})", Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"ping":{},"resetSupport":{}})", Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"ping":{},"setSleepDisabled":{"scope":"ac","disabled":true},"resetSupport":{}})",
                   Kind::typeMismatch, "", oneKey},
        BadCommand{R"({"ping":1,"resetSupport":{}})", Kind::typeMismatch, "", oneKey},
        BadCommand{"[]", Kind::typeMismatch, "", "expected an object but found an array."},
        BadCommand{"\"ping\"", Kind::typeMismatch, "", "expected an object but found a string."},
        BadCommand{"null", Kind::typeMismatch, "", "expected an object but found a null."},
        BadCommand{R"({"ping":[]})", Kind::typeMismatch, "ping", "expected an object but found an array."},
        BadCommand{R"({"ping":true})", Kind::typeMismatch, "ping", "expected an object but found a boolean."},
        BadCommand{R"({"ping":null})", Kind::valueNotFound, "ping", "expected an object but found null."},
        BadCommand{R"({"resetSupport":"now"})", Kind::typeMismatch, "resetSupport",
                   "expected an object but found a string."},
        BadCommand{R"({"setSleepDisabled":{}})", Kind::keyNotFound, "setSleepDisabled.scope", "the key is missing."},
        BadCommand{R"({"setSleepDisabled":{"scope":"ac"}})", Kind::keyNotFound, "setSleepDisabled.disabled",
                   "the key is missing."},
        BadCommand{R"({"setSleepDisabled":{"scope":"-a","disabled":true}})", Kind::dataCorrupted,
                   "setSleepDisabled.scope", "\"-a\" is not a known value."},
        BadCommand{R"({"setSleepDisabled":{"scope":0,"disabled":true}})", Kind::typeMismatch, "setSleepDisabled.scope",
                   "expected a string but found a number."},
        BadCommand{R"({"setSleepDisabled":{"scope":"ac","disabled":1}})", Kind::typeMismatch,
                   "setSleepDisabled.disabled", "expected true or false but found a number."},
        BadCommand{R"({"setSleepDisabled":{"scope":"ac","disabled":"true"}})", Kind::typeMismatch,
                   "setSleepDisabled.disabled", "expected true or false but found a string."},
        BadCommand{R"({"setSleepDisabled":{"scope":"ac","disabled":null}})", Kind::valueNotFound,
                   "setSleepDisabled.disabled", "expected a value but found null."},
        BadCommand{"", Kind::dataCorrupted, "", "the text is not valid json: unexpected input at line 1, column 1."},
        BadCommand{R"({"ping":{}}x)", Kind::dataCorrupted, "",
                   "the text is not valid json: unexpected input at line 1, column 12."},
        BadCommand{R"({"ping":{"n":1e999}})", Kind::dataCorrupted, "", "the text holds a number that is too large."}));

TEST(PrivilegedHelperCommand, TextThatIsMalformedOrDeeplyNestedIsADecodingError) {
    for (const auto& text :
         {std::string("{\"ping\":{}"), std::string("{\"ping\":{}}\0", 12), std::string("{\"ping\":{}}\0x", 13),
          std::string("\xFF\xFE"), std::string("{\"p\xFFing\":{}}"), std::string(100000, '['),
          std::string(100000, '[') + std::string(100000, ']')}) {
        EXPECT_THROW(PrivilegedHelperCommand::decode(text), DecodingError);
    }
}

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

TEST(PrivilegedHelperConstants, TheDaemonIsLabelledByItsService) {
    EXPECT_EQ(PrivilegedHelperConstants::helperExecutableName, "TavoPrivilegedHelper");
    EXPECT_EQ(PrivilegedHelperConstants::launchDaemonPlistName, "com.vrd.tavo.helper.plist");
    EXPECT_EQ(PrivilegedHelperConstants::machServiceName, "com.vrd.tavo.helper");
    EXPECT_EQ(PrivilegedHelperConstants::launchDaemonLabel, PrivilegedHelperConstants::machServiceName);
}

} // namespace
} // namespace tavo
