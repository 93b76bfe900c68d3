#include "system/BusAddresses.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(BusAddresses, OnlySocketsAreLeft) {
    EXPECT_EQ(unixBusAddresses("unix:path=/run/user/1000/bus,guid=01"), "unix:path=/run/user/1000/bus,guid=01");
    EXPECT_EQ(unixBusAddresses("unixexec:path=/bin/sh;unix:path=/a;tcp:host=localhost;unix:abstract=b;;"),
              "unix:path=/a;unix:abstract=b");
    for (const auto* other : {"", ";", "unixexec:path=/bin/sh", "autolaunch:", "Unix:path=/a", " unix:path=/a", "unix",
                              "nonce-tcp:host=localhost", "disabled:"}) {
        EXPECT_EQ(unixBusAddresses(other), "") << other;
    }
}

} // namespace
} // namespace tavo
