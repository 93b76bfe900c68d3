#include "system/macos/PowerSourceFunctions.h"

#include "system/macos/FakePowerSources.h"
#include "system/macos/SystemPowerEnvironment.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

/// The sources of the library at `path`.
FakePowerSources& sourcesOf(const char* path) {
    void* const library = dlopen(path, RTLD_LAZY | RTLD_LOCAL);
    EXPECT_NE(library, nullptr) << dlerror();
    using Access = FakePowerSources* (*)();
    return *reinterpret_cast<Access>(dlsym(library, "standInPowerSources"))();
}

TEST(PowerSourceFunctions, AreCalledThroughALibraryThatIsLoadedAtRunTime) {
    auto& sources = sourcesOf(TAVO_STAND_IN_IOKIT);
    ASSERT_NE(&sources, &FakePowerSources::current());
    sources = FakePowerSources{
        .providingType = "Battery Power",
        .sources = {{FakePowerSources::Source{{"Current Capacity", 2}, {"Max Capacity", 3}, {"Is Charging", false}}}}};

    const auto functions = PowerSourceFunctions::load(TAVO_STAND_IN_IOKIT);
    ASSERT_TRUE(functions);
    EXPECT_EQ(TavoCopyPowerSourceSnapshot(*functions),
              (TavoPowerSourceSnapshot{
                  .sourceKind = 2, .hasBatteryPercent = true, .batteryPercent = 67, .hasChargingState = true}));
    EXPECT_GT(sources.copied, 0);
    EXPECT_EQ(sources.copied, sources.released);
    EXPECT_EQ(sources.releasedTwice, 0);
}

TEST(PowerSourceFunctions, AreAllOrNothing) {
    EXPECT_FALSE(PowerSourceFunctions::load(TAVO_STAND_IN_WITHOUT_DESCRIPTION));
    EXPECT_FALSE(PowerSourceFunctions::load(TAVO_STAND_IN_WITHOUT_NUMBERS));
}

TEST(PowerSourceFunctions, AMissingOrBrokenLibraryHasNone) {
    EXPECT_FALSE(PowerSourceFunctions::load("/nowhere/IOKit"));
    EXPECT_FALSE(PowerSourceFunctions::load(__FILE__));
}

} // namespace
} // namespace tavo
