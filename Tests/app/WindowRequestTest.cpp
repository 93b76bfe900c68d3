#include "app/WindowRequest.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

TEST(WindowRequest, ComesBackAsItWasSent) {
    for (const auto& request :
         {WindowRequest{}, WindowRequest{.activationToken = "a b\"\\~", .startupID = "x_TIME12"},
          WindowRequest{.action = RequestedAction::enable}, WindowRequest{.action = RequestedAction::pause},
          WindowRequest{.action = RequestedAction::showSettings,
          .activationToken = std::string(1008, '"'),
          .startupID = std::string(1008, '\\')}}) {
        const auto message = request.encoded();
        EXPECT_LE(message.size(), WindowRequest::maxLength);
        EXPECT_EQ(WindowRequest::decoded(message), request);
    }
}

TEST(WindowRequest, WhatItCannotBeIsIgnored) {
    const auto with = [](const std::string& token) {
        return R"({"activationToken":")" + token + R"(","startupID":""})";
    };
    ASSERT_TRUE(WindowRequest::decoded(with("t")));
    for (const auto& message :
         {std::string(), std::string("\0\0\0", 3), std::string("{"), std::string("[]"), std::string("null"),
          std::string(R"({"activationToken":"t"})"), std::string(R"({"activationToken":7,"startupID":""})"),
          std::string(R"({"activationToken":"t","startupID":null})"),
          std::string(R"({"action":7,"activationToken":"t","startupID":""})"), with("\\n"), with("\\u0000"), with("é"),
          with("\xFF"), with(std::string(1100, 'x')), with(std::string(5000, 'x')), std::string(100'000, '['),
          with("t") + std::string(5000, ' ')}) {
        EXPECT_FALSE(WindowRequest::decoded(message)) << message.substr(0, 60);
    }
}

TEST(WindowRequest, OfAnotherVersionItAsksForTheWindow) {
    for (const auto* message :
         {R"({"activationToken":"t","startupID":""})", R"({"action":"dance","activationToken":"t","startupID":""})"}) {
        EXPECT_EQ(WindowRequest::decoded(message), (WindowRequest{.activationToken = "t"})) << message;
    }
}

TEST(WindowRequest, TakesFromTheEnvironmentOnlyValuesThatCanBeSent) {
    setenv("XDG_ACTIVATION_TOKEN", "token", 1);
    setenv("DESKTOP_STARTUP_ID", "name_TIME5", 1);
    EXPECT_EQ(WindowRequest::fromEnvironment(), (WindowRequest{.activationToken = "token", .startupID = "name_TIME5"}));
    setenv("XDG_ACTIVATION_TOKEN", std::string(5000, 'x').c_str(), 1);
    setenv("DESKTOP_STARTUP_ID", "a\nb", 1);
    EXPECT_EQ(WindowRequest::fromEnvironment(), WindowRequest{});
    unsetenv("XDG_ACTIVATION_TOKEN");
    unsetenv("DESKTOP_STARTUP_ID");
    EXPECT_EQ(WindowRequest::fromEnvironment(), WindowRequest{});
}

} // namespace
} // namespace tavo
