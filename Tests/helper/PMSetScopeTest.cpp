#include "helper/PMSetScope.h"

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

TEST(PMSetScope, APolicyMapsCaseForCase) {
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::any), PMSetScope::all);
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::acOnly), PMSetScope::ac);
    EXPECT_EQ(pmsetScope(PowerSourcePolicy::batteryOnly), PMSetScope::battery);
}

} // namespace
} // namespace tavo
