#include "system/linux/UnitText.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(UnitText, APathIsOneWordWhateverItHolds) {
    EXPECT_EQ(unitWord("/usr/bin/tavoctl"), "\"/usr/bin/tavoctl\"");
    EXPECT_EQ(unitWord("/a b/100%/$x/\"q\"\\n/tavoctl"), R"("/a b/100%%/$$x/\"q\"\\n/tavoctl")");
}

} // namespace
} // namespace tavo
