#include "TavoPrivilegedHelper/HelperOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

using testing::HasSubstr;

HelperOptions parse(const std::vector<const char*>& arguments) {
    return HelperOptions::parse(arguments);
}

TEST(HelperOptions, ServesRootAloneUnlessAUserIsNamed) {
    EXPECT_EQ(parse({}), HelperOptions{});
    EXPECT_EQ(parse({"--user", "1000"}), (HelperOptions{HelperOptions::Task::serve, 1000}));
    EXPECT_EQ(parse({"--user", "0"}), (HelperOptions{HelperOptions::Task::serve, 0}));
}

TEST(HelperOptions, HasOtherTasks) {
    EXPECT_EQ(parse({"--after-stop"}).task, HelperOptions::Task::afterStop);
    EXPECT_EQ(parse({"--version"}).task, HelperOptions::Task::printVersion);
    EXPECT_EQ(parse({"--help"}).task, HelperOptions::Task::printHelp);
}

TEST(HelperOptions, AUserIsDigits) {
    for (const auto* user :
         {"", "me", "-1", "+1", " 1", "1 ", "1x", "0x1", "4294967295", "4294967296", "@installingUser@"}) {
        EXPECT_THROW(parse({"--user", user}), HelperUsageError) << user;
    }
    EXPECT_THROW(parse({"--user"}), HelperUsageError);
}

TEST(HelperOptions, WhatIsUnknownIsNamed) {
    try {
        parse({"--sudo"});
        FAIL() << "nothing was thrown";
    } catch (const HelperUsageError& error) {
        EXPECT_THAT(error.description(), HasSubstr("--sudo"));
    }
}

} // namespace
} // namespace tavo
