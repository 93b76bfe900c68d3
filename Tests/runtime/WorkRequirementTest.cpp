#include "runtime/WorkRequirement.h"

#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;
using testing::ElementsAre;

std::string refusalOf(const std::string& busy, const std::string& grace) {
    try {
        WorkRequirement::fromOptions(busy, grace);
    } catch (const WorkRequirementError& error) {
        return error.description();
    }
    return "accepted";
}

TEST(WorkRequirement, IsOnePercentAndTenMinutesUnlessToldOtherwise) {
    EXPECT_EQ(WorkRequirement::fromOptions("", ""), (WorkRequirement{.busyPercent = 1, .grace = minutes{10}}));
    EXPECT_EQ(WorkRequirement::fromOptions("0.5", "0"), (WorkRequirement{.busyPercent = 0.5, .grace = seconds{0}}));
    EXPECT_EQ(WorkRequirement::fromOptions("250", "1h30m"),
              (WorkRequirement{.busyPercent = 250, .grace = minutes{90}}));
}

TEST(WorkRequirement, APercentageThatMakesNoSenseIsRefused) {
    for (const auto* text :
         {"0", "-1", "0.0", "10001", "1e9", "abc", "1%", "1,5", " 1", "1 ", "nan", "inf", "0x1", "1e999", "1e-999"}) {
        EXPECT_EQ(refusalOf(text, ""),
                  std::string("--busy takes a percentage of one core, a number above 0 and up to 10000, not \"") +
                      text + "\"");
    }
}

TEST(WorkRequirement, ADurationThatMakesNoSenseIsRefused) {
    for (const auto* text : {"10", "-1m", "1d", "soon", "9000h"}) {
        EXPECT_EQ(
            refusalOf("", text),
            std::string("--grace takes a duration such as 90s, 45m, 2h or 1h30m, of at most 8760h, or 0, not \"") +
                text + "\"");
    }
}

TEST(WorkRequirement, ItsArgumentsMakeItAgain) {
    EXPECT_THAT(WorkRequirement().arguments(), ElementsAre("--while-working"));
    const WorkRequirement other{.busyPercent = 2.5, .grace = seconds{90}};
    EXPECT_THAT(other.arguments(), ElementsAre("--while-working", "--busy", "2.5", "--grace", "1m30s"));
    EXPECT_EQ(WorkRequirement::fromOptions("2.5", "1m30s"), other);
    EXPECT_THAT((WorkRequirement{.grace = seconds{0}}.arguments()), ElementsAre("--while-working", "--grace", "0"));
}

TEST(WorkRequirement, GoesThroughJson) {
    const WorkRequirement requirement{.busyPercent = 0.25, .grace = seconds{0}};
    EXPECT_EQ(WorkRequirement::fromJson(Json(requirement)), requirement);
}

TEST(WorkRequirement, JsonThatNoOptionsMakeIsRefused) {
    for (const auto* text :
         {"[]", "{}", R"({"busyPercent":1})", R"({"graceSeconds":1})", R"({"busyPercent":0,"graceSeconds":1})",
          R"({"busyPercent":"1","graceSeconds":1})", R"({"busyPercent":1,"graceSeconds":-1})",
          R"({"busyPercent":1,"graceSeconds":31536001})", R"({"busyPercent":10001,"graceSeconds":1})"}) {
        EXPECT_THROW(WorkRequirement::fromJson(parseJson(text)), DecodingError) << text;
    }
}

} // namespace
} // namespace tavo
