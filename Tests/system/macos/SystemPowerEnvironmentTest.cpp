#include "system/macos/SystemPowerEnvironment.h"

#include "base/JsonCoding.h"
#include "system/macos/FakePowerSources.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavo {
namespace {

using Source = FakePowerSources::Source;
using Value = FakePowerSources::Value;

Source battery(Value current, Value maximum) {
    return {{"Current Capacity", std::move(current)}, {"Max Capacity", std::move(maximum)}};
}

Source withFlag(Source source, Value isCharging) {
    source["Is Charging"] = std::move(isCharging);
    return source;
}

const std::vector<std::optional<Source>> noSources;

struct PowerSourceSnapshot : testing::Test {
    FakePowerSources& fake = FakePowerSources::current();

    PowerSourceSnapshot() { fake = FakePowerSources{.providingType = "AC Power", .sources = noSources}; }

    TavoPowerSourceSnapshot snapshot() { return TavoCopyPowerSourceSnapshot(FakePowerSources::functions()); }

    TavoPowerSourceSnapshot snapshotOf(std::vector<std::optional<Source>> sources) {
        fake.sources = std::move(sources);
        return snapshot();
    }

    /// After every test, all that was copied must have been released, once.
    void TearDown() override {
        EXPECT_EQ(fake.copied, fake.released);
        EXPECT_EQ(fake.releasedTwice, 0);
    }
};

TEST_F(PowerSourceSnapshot, TheProvidingTypeDecidesTheKind) {
    EXPECT_EQ(snapshot().sourceKind, 1);
    fake.providingType = "Battery Power";
    EXPECT_EQ(snapshot().sourceKind, 2);
}

TEST_F(PowerSourceSnapshot, AnotherProvidingTypeOrNoneIsUnknown) {
    for (const auto* type : {"UPS Power", "ac power", "AC Power ", ""}) {
        fake.providingType = type;
        EXPECT_EQ(snapshot().sourceKind, 0) << type;
    }
    fake.providingType = std::nullopt;
    EXPECT_EQ(snapshot().sourceKind, 0);
}

TEST_F(PowerSourceSnapshot, WithoutInformationNothingIsKnown) {
    fake.hasInfo = false;
    EXPECT_EQ(snapshot(), TavoPowerSourceSnapshot{});
    EXPECT_EQ(fake.copied, 0);
}

TEST_F(PowerSourceSnapshot, WithoutAListOrWithAnEmptyOneTheKindAloneIsKnown) {
    fake.sources = std::nullopt;
    EXPECT_EQ(snapshot(), TavoPowerSourceSnapshot{.sourceKind = 1});
    EXPECT_EQ(snapshotOf({}), TavoPowerSourceSnapshot{.sourceKind = 1});
}

TEST_F(PowerSourceSnapshot, EverythingThatWasCopiedIsReleased) {
    snapshotOf({withFlag(battery(50, 100), true)});
    EXPECT_GE(fake.copied, 2 + 4);
    EXPECT_EQ(fake.copied, fake.released);
}

TEST_F(PowerSourceSnapshot, ThePercentIsRoundedHalfUp) {
    const std::vector<std::array<std::int32_t, 3>> table{{50, 101, 50},   {1, 3, 33},     {2, 3, 67},      {1, 2, 50},
                                                         {1, 200, 1},     {0, 100, 0},    {100, 100, 100}, {1, 201, 0},
                                                         {110, 100, 110}, {-50, 100, -49}};
    for (const auto& [current, maximum, percent] : table) {
        const auto read = snapshotOf({battery(current, maximum)});
        EXPECT_TRUE(read.hasBatteryPercent);
        EXPECT_EQ(read.batteryPercent, percent) << current << " of " << maximum;
    }
}

TEST_F(PowerSourceSnapshot, CapacitiesBeyondAllBatteriesWrapAroundAt32Bits) {
    constexpr auto largest = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(snapshotOf({battery(largest, 1)}).batteryPercent, -100);
    EXPECT_EQ(snapshotOf({battery(std::numeric_limits<std::int32_t>::min(), 1)}).batteryPercent, 0);
    EXPECT_EQ(snapshotOf({battery(largest, largest)}).batteryPercent, 0);
}

TEST_F(PowerSourceSnapshot, ASourceWithoutAPositiveMaximumIsSkipped) {
    for (const std::int32_t maximum : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_FALSE(snapshotOf({battery(50, maximum)}).hasBatteryPercent) << maximum;
        EXPECT_EQ(snapshotOf({battery(50, maximum), battery(30, 60)}).batteryPercent, 50) << maximum;
    }
}

TEST_F(PowerSourceSnapshot, TheFirstSourceWithUsableCapacitiesWins) {
    EXPECT_EQ(snapshotOf({battery(20, 100), battery(80, 100)}).batteryPercent, 20);
}

TEST_F(PowerSourceSnapshot, ASourceWithoutADescriptionIsSkipped) {
    EXPECT_EQ(snapshotOf({std::nullopt, battery(80, 100)}).batteryPercent, 80);
    EXPECT_EQ(snapshotOf({std::nullopt}), TavoPowerSourceSnapshot{.sourceKind = 1});
}

TEST_F(PowerSourceSnapshot, ACapacityThatIsMissingOrNoNumberMakesTheSourceUnusableForThePercent) {
    for (const auto& source :
         {battery("50", 100), battery(50, "100"), battery(true, 100), battery(FakePowerSources::Unconvertible{}, 100),
          battery(50, FakePowerSources::Unconvertible{}), Source{{"Current Capacity", 50}},
          Source{{"Max Capacity", 100}}, Source{}}) {
        EXPECT_EQ(snapshotOf({source}), TavoPowerSourceSnapshot{.sourceKind = 1});
    }
}

TEST_F(PowerSourceSnapshot, TheChargingFlagOfASourceWithoutCapacitiesIsKept) {
    const auto read = snapshotOf({withFlag({}, true), Source{}});
    EXPECT_EQ(read, (TavoPowerSourceSnapshot{.sourceKind = 1, .hasChargingState = true, .isCharging = true}));
}

TEST_F(PowerSourceSnapshot, ALaterFlagOverwritesAnEarlierOneWhileTheWalkGoesOn) {
    const auto read = snapshotOf({withFlag({}, true), withFlag(battery(1, 2), false)});
    EXPECT_TRUE(read.hasChargingState);
    EXPECT_FALSE(read.isCharging);
}

TEST_F(PowerSourceSnapshot, TheWalkStopsAtTheFirstUsableSourceWhoseFlagIsReported) {
    const auto read = snapshotOf({withFlag(battery(1, 2), true), withFlag({}, false)});
    EXPECT_TRUE(read.isCharging);
}

TEST_F(PowerSourceSnapshot, AFlagThatIsNoBooleanIsIgnored) {
    EXPECT_FALSE(snapshotOf({withFlag(battery(1, 2), 1)}).hasChargingState);
    EXPECT_FALSE(snapshotOf({withFlag(battery(1, 2), "true")}).hasChargingState);
}

TEST_F(PowerSourceSnapshot, StringsThatCannotBeCreatedAreValuesThatAreNotThere) {
    fake.lacksStrings = true;
    EXPECT_EQ(snapshotOf({withFlag(battery(1, 2), true)}), TavoPowerSourceSnapshot{});
}

TEST_F(PowerSourceSnapshot, ANumberThatCannotBeReadLeavesTheValueAsItWas) {
    fake.sources = {{Source{{"size", FakePowerSources::Unconvertible{}}, {"name", "x"}, {"count", 9}}}};
    const auto functions = FakePowerSources::functions();
    const auto* const info = functions.copyPowerSourcesInfo();
    const auto* const list = functions.copyPowerSourcesList(info);
    const auto* const dictionary = functions.getPowerSourceDescription(info, functions.arrayGetValueAtIndex(list, 0));
    std::int32_t value = 5;
    const auto read = [&](const char* name) {
        const auto* const key = functions.createString(nullptr, name, PowerSourceFunctions::utf8);
        const bool isRead = TavoGetDictionaryInt(functions, dictionary, key, value);
        functions.release(key);
        return isRead;
    };
    EXPECT_FALSE(read("size"));
    EXPECT_FALSE(read("name"));
    EXPECT_FALSE(read("missing"));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(read("count"));
    EXPECT_EQ(value, 9);
    functions.release(list);
    functions.release(info);
}

TEST(SystemPowerEnvironment, TurnsASnapshotIntoAStatus) {
    using Environment = SystemPowerEnvironment;
    EXPECT_EQ(Environment::status({}), PowerStatus{});
    EXPECT_EQ(Environment::status({.sourceKind = 1}),
              (PowerStatus{.source = CurrentPowerSource::ac, .batteryPercent = {}, .isCharging = {}}));
    EXPECT_EQ(Environment::status({.sourceKind = 3}), PowerStatus{});
    EXPECT_EQ(Environment::status({.sourceKind = -1}), PowerStatus{});
    EXPECT_EQ(Environment::status(
                  {.sourceKind = 2, .hasBatteryPercent = true, .batteryPercent = 42, .hasChargingState = true}),
              (PowerStatus{.source = CurrentPowerSource::battery, .batteryPercent = 42, .isCharging = false}));
    EXPECT_EQ(Environment::status({.sourceKind = 0, .batteryPercent = 42, .isCharging = true}), PowerStatus{});
}

TEST(SystemPowerEnvironment, AStatusWithNothingButTheSourceIsWrittenAsTheSourceAlone) {
    EXPECT_EQ(Json(SystemPowerEnvironment::status({.sourceKind = 1})), (Json{{"source", "ac"}}));
}

} // namespace
} // namespace tavo
