#include "app/LaunchArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tavo {
namespace {

using testing::ElementsAre;

std::vector<std::string> left(std::vector<std::string> arguments) {
    std::vector<char*> values;
    for (auto& argument : arguments) {
        values.push_back(argument.data());
    }
    values.push_back(nullptr);
    const auto kept = withoutProcessSerialNumber(static_cast<int>(arguments.size()), values.data());
    EXPECT_EQ(kept.back(), nullptr);
    return {kept.begin(), kept.end() - 1};
}

TEST(LaunchArguments, AProcessSerialNumberIsIgnored) {
    EXPECT_THAT(left({"tavo", "-psn_0_12345"}), ElementsAre("tavo"));
    EXPECT_THAT(left({"tavo", "-psn_0_12345", "--hidden"}), ElementsAre("tavo", "--hidden"));
}

TEST(LaunchArguments, EverythingElseStays) {
    EXPECT_THAT(left({"tavo"}), ElementsAre("tavo"));
    EXPECT_THAT(left({}), ElementsAre());
    EXPECT_THAT(left({"tavo", "--root", "-psn_0_12345"}), ElementsAre("tavo", "--root", "-psn_0_12345"));
    for (const auto* argument : {"-psn", "-psn_", "-psn_0", "-psn_0_", "-psn__1", "-psn_0_1x", "-psn_0_1_2", "psn_0_1",
                                 "--psn_0_1", "--hidden", ""}) {
        EXPECT_THAT(left({"tavo", argument}), ElementsAre("tavo", argument));
    }
}

} // namespace
} // namespace tavo
