#include "TavoInhibit/SessionBusAddress.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(SessionBusAddress, ASocketsPathIsTakenWithoutTheServersId) {
    EXPECT_EQ(findSessionBus("unix:path=/run/user/1000/bus,guid=0123", nullptr),
              (SessionBusAddress{"unix:path=/run/user/1000/bus", "/run/user/1000/bus"}));
    EXPECT_EQ(findSessionBus("unix:guid=0123,path=/tmp/bus", "/run/user/1000"),
              (SessionBusAddress{"unix:path=/tmp/bus", "/tmp/bus"}));
}

TEST(SessionBusAddress, EscapesAreUndoneForThePathAndMadeAnewForTheAddress) {
    EXPECT_EQ(findSessionBus("unix:path=/tmp/a%20b%2c%C3%A9/bus", nullptr),
              (SessionBusAddress{"unix:path=/tmp/a%20b%2c%c3%a9/bus", "/tmp/a b,é/bus"}));
}

TEST(SessionBusAddress, TheFirstThatNamesASocketIsTakenOfSeveral) {
    EXPECT_EQ(findSessionBus("tcp:host=localhost,port=1;unix:path=/tmp/bus;unix:path=/tmp/other", nullptr),
              (SessionBusAddress{"unix:path=/tmp/bus", "/tmp/bus"}));
}

TEST(SessionBusAddress, OtherSocketsArePassedOnAndNotWatchedFor) {
    for (const auto* address :
         {"unix:abstract=/tmp/dbus-1", "unix:", "unix:path=", "unix:path=relative/bus", "unix:path=/tmp/%2",
          "unix:path=/tmp/%zz", "unix:path=/tmp/%00", "unix:pathological=/tmp/bus"}) {
        EXPECT_EQ(findSessionBus(address, "/run/user/1000"), (SessionBusAddress{address, std::nullopt})) << address;
    }
}

TEST(SessionBusAddress, WhateverIsNoSocketIsNoBus) {
    for (const auto* address : {"tcp:host=localhost,port=1", "unixexec:path=/bin/touch,argv1=/tmp/mark", "autolaunch:",
                                "disabled:", "nonsense", "UNIX:path=/tmp/bus", " unix:path=/tmp/bus", ";"}) {
        EXPECT_EQ(findSessionBus(address, "/run/user/1000"), std::nullopt) << address;
    }
    EXPECT_EQ(findSessionBus("unixexec:path=/bin/true;unix:abstract=/tmp/dbus-1;tcp:host=localhost,port=1", nullptr),
              (SessionBusAddress{"unix:abstract=/tmp/dbus-1", std::nullopt}));
}

TEST(SessionBusAddress, WithoutAnAddressTheBusIsInTheRuntimeFolder) {
    EXPECT_EQ(findSessionBus(nullptr, "/run/user/1000"),
              (SessionBusAddress{"unix:path=/run/user/1000/bus", "/run/user/1000/bus"}));
    EXPECT_EQ(findSessionBus("", "/run/user/10 00"),
              (SessionBusAddress{"unix:path=/run/user/10%2000/bus", "/run/user/10 00/bus"}));
}

TEST(SessionBusAddress, NothingIsFoundWhereNothingSaysWhere) {
    EXPECT_EQ(findSessionBus(nullptr, nullptr), std::nullopt);
    EXPECT_EQ(findSessionBus("", ""), std::nullopt);
    EXPECT_EQ(findSessionBus(nullptr, "relative"), std::nullopt);
}

} // namespace
} // namespace tavo
