#include "system/BusAddresses.h"

#include "Support/TemporaryDirectory.h"
#include "system/linux/BusConnection.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace tavo {
namespace {

constexpr uid_t ordinaryUser = 54321;
constexpr auto session = "DBUS_SESSION_BUS_ADDRESS";
constexpr auto accessibility = "AT_SPI_BUS_ADDRESS";
constexpr auto systemBus = "DBUS_SYSTEM_BUS_ADDRESS";

/// In a child, whose environment is its own.
bool holdsInChild(const std::function<bool()>& body) {
    const auto child = fork();
    if (child == 0) {
        _exit(body() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "(unset)" : value;
}

void setAll(const std::string& address) {
    for (const auto* variable : {session, accessibility, systemBus}) {
        setenv(variable, address.c_str(), 1);
    }
}

TEST(BusEnvironment, SocketsOfAnOrdinaryUserStayAndNothingElse) {
    EXPECT_TRUE(holdsInChild([] {
        setAll("unixexec:path=/bin/true;unix:path=/a");
        restrictBusAddresses(ordinaryUser);
        return valueOf(session) == "unix:path=/a" && valueOf(accessibility) == "unix:path=/a" &&
               valueOf(systemBus) == "unix:path=/a";
    }));
    EXPECT_TRUE(holdsInChild([] {
        setAll("unixexec:path=/bin/true");
        restrictBusAddresses(ordinaryUser);
        return valueOf(session) == "disabled:" && valueOf(accessibility) == "disabled:" &&
               valueOf(systemBus) == "disabled:";
    }));
    EXPECT_TRUE(holdsInChild([] {
        for (const auto* variable : {session, accessibility, systemBus}) {
            unsetenv(variable);
        }
        restrictBusAddresses(ordinaryUser);
        return valueOf(session) == "(unset)" && valueOf(accessibility) == "(unset)" && valueOf(systemBus) == "(unset)";
    })) << "the libraries' own places are sockets";
}

TEST(BusEnvironment, RootHasNoSessionBus) {
    EXPECT_TRUE(holdsInChild([] {
        setAll("unix:path=/a");
        restrictBusAddresses(0);
        return valueOf(session) == "disabled:" && valueOf(accessibility) == "(unset)" &&
               valueOf(systemBus) == "unix:path=/a";
    }));
    EXPECT_TRUE(holdsInChild([] {
        unsetenv(session);
        restrictBusAddresses(0);
        return valueOf(session) == "disabled:";
    })) << "nor one that a library would find";
}

TEST(BusEnvironment, AnAddressThatNamesAProgramRunsNone) {
    const TemporaryDirectory folder;
    const auto mark = folder.path() / "mark";
    for (const uid_t user : {ordinaryUser, uid_t{0}}) {
        EXPECT_TRUE(holdsInChild([&] {
            setAll("unixexec:path=/usr/bin/touch,argv1=" + mark.string());
            restrictBusAddresses(user);
            int failures = 0;
            for (const bool session : {true, false}) {
                try {
                    session ? BusConnection::openSession() : BusConnection::openSystem();
                } catch (const BusError&) {
                    ++failures;
                }
            }
            return failures == 2;
        }));
    }
    EXPECT_FALSE(std::filesystem::exists(mark));
}

} // namespace
} // namespace tavo
