#include "helper/PrivilegedSleepControlling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(PMSetScope, EachHasItsRawValueAndItsFlag) {
    EXPECT_THAT(allCases<PMSetScope>(), testing::ElementsAre(PMSetScope::all, PMSetScope::ac, PMSetScope::battery));
    EXPECT_EQ(rawValue(PMSetScope::all), "all");
    EXPECT_EQ(rawValue(PMSetScope::ac), "ac");
    EXPECT_EQ(rawValue(PMSetScope::battery), "battery");
    EXPECT_EQ(pmsetFlag(PMSetScope::all), "-a");
    EXPECT_EQ(pmsetFlag(PMSetScope::ac), "-c");
    EXPECT_EQ(pmsetFlag(PMSetScope::battery), "-b");
}

} // namespace
} // namespace tavo
