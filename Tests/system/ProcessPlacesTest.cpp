#include "system/ProcessPlaces.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(ProcessPlaces, AProcessIsFoundInATableOfAnyOrder) {
    const ProcessPlaces ascending({{.pid = 1}, {.pid = 5}, {.pid = 9}});
    EXPECT_EQ(ascending.find(5), 1U);
    const ProcessPlaces mixed({{.pid = 9}, {.pid = -3}, {.pid = 5}, {.pid = 1}});
    EXPECT_EQ(mixed.find(9), 0U);
    EXPECT_EQ(mixed.find(-3), 1U);
    EXPECT_EQ(mixed.find(1), 3U);
}

TEST(ProcessPlaces, WhatIsNotThereHasNoPlace) {
    EXPECT_EQ(ProcessPlaces({}).find(1), std::nullopt);
    const ProcessPlaces places({{.pid = 2}, {.pid = 4}});
    EXPECT_EQ(places.find(1), std::nullopt);
    EXPECT_EQ(places.find(3), std::nullopt);
    EXPECT_EQ(places.find(5), std::nullopt);
}

TEST(ProcessPlaces, OfSeveralWithOneIdTheFirstCounts) {
    EXPECT_EQ(ProcessPlaces({{.pid = 7}, {.pid = 2}, {.pid = 7}}).find(7), 0U);
}

} // namespace
} // namespace tavo
