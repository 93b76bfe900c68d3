#include "TavoInhibit/OwnLocksQuestion.h"

#include "Support/PrivateBus.h"
#include "Support/ScriptedBusService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace tavo {
namespace {

TEST(OwnLocks, AreHeededFromVersion257On) {
    for (const auto* version : {"257", "257.9-1~deb13u1", "258~rc1", "1000"}) {
        EXPECT_TRUE(heedsOwnLocks(version)) << version;
    }
    for (const auto* version : {"252.39-1~deb12u2", "256", "255.4-1ubuntu8", "25", "", "v257", "-257", "unknown"}) {
        EXPECT_FALSE(heedsOwnLocks(version)) << version;
    }
}

class OwnLocksQuestionTest : public ::testing::Test {
protected:
    OwnLocksQuestionTest() {
        bus.start();
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    }
    ~OwnLocksQuestionTest() override { ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }
    OwnLocksQuestionTest(const OwnLocksQuestionTest&) = delete;
    OwnLocksQuestionTest& operator=(const OwnLocksQuestionTest&) = delete;

    std::optional<bool> ask() {
        std::optional<bool> result;
        const OwnLocksQuestion question(pump.event(), [&](bool areHeeded) { result = areHeeded; });
        pump.until([&] { return result.has_value(); });
        return result;
    }

    void answerWith(ScriptedBusService::Answer answer) {
        manager.emplace(pump, bus.address());
        manager->answer("Get", std::move(answer));
        manager->own("org.freedesktop.systemd1");
    }

    static ScriptedBusService::Answer version(const char* text) {
        return [text](sd_bus_message* call) { return sd_bus_reply_method_return(call, "v", "s", text); };
    }

    PrivateBus bus;
    BusPump pump;
    std::optional<ScriptedBusService> manager;
};

TEST_F(OwnLocksQuestionTest, IsDecidedByTheVersionOfTheServiceManager) {
    answerWith(version("252.39-1~deb12u2"));
    EXPECT_EQ(ask(), false);
    ASSERT_EQ(manager->calls().size(), 1U);
    const ScriptedBusService::Call expected{.path = "/org/freedesktop/systemd1",
                                            .interface = "org.freedesktop.DBus.Properties",
                                            .member = "Get",
                                            .arguments = R"("org.freedesktop.systemd1.Manager", "Version")",
                                            .mayStartService = false};
    EXPECT_EQ(manager->calls()[0], expected);
    manager->answer("Get", version("257.9-1~deb13u1"));
    EXPECT_EQ(ask(), true);
}

TEST_F(OwnLocksQuestionTest, IsAnsweredWithNoWhereNobodyKnows) {
    EXPECT_EQ(ask(), false) << "another program runs the system";
    answerWith(ScriptedBusService::withCookie(257));
    EXPECT_EQ(ask(), false);
    bus.stop(SIGTERM);
    EXPECT_EQ(ask(), false);
}

TEST(UserDesktop, ADisplayOfThisComputerIsOneThatNoNetworkLeadsTo) {
    EXPECT_TRUE(namesLocalDisplay("wayland-0", nullptr));
    EXPECT_TRUE(namesLocalDisplay(nullptr, ":0"));
    EXPECT_TRUE(namesLocalDisplay("", ":1.0"));
    EXPECT_TRUE(namesLocalDisplay(nullptr, "unix:0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, "localhost:10.0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, "elsewhere:0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, nullptr));
    EXPECT_FALSE(namesLocalDisplay("", ""));
}

TEST(UserDesktop, RootsLocksNeedNoDesktopToAgree) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can try out what holds for root";
    }
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    EXPECT_FALSE(isOrdinaryUserOfDesktop());
    ::unsetenv("WAYLAND_DISPLAY");
}

} // namespace
} // namespace tavo
