#include "TavoInhibit/InhibitTest.h"

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto gnomeName = "org.gnome.SessionManager";
constexpr auto powerManagementName = "org.freedesktop.PowerManagement";
constexpr auto portalName = "org.freedesktop.portal.Desktop";
constexpr auto requestPath = "/org/freedesktop/portal/desktop/request/1_42/t";

class DesktopInhibitionTest : public InhibitTest {
protected:
    static std::vector<std::string> members(const ScriptedBusService& service) {
        std::vector<std::string> result;
        for (const auto& call : service.calls()) {
            result.push_back(call.member);
        }
        return result;
    }

    std::unique_ptr<ScriptedBusService> makeService(ScriptedBusService::Answer answer) {
        auto service = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        service->answer("Inhibit", std::move(answer));
        return service;
    }

    std::unique_ptr<ScriptedBusService> makeCookieService(const std::string& name) {
        auto service = makeService(ScriptedBusService::withCookie(1));
        service->own(name);
        return service;
    }

    std::unique_ptr<ScriptedBusService> makePortal() {
        auto portal = makeService(ScriptedBusService::withPath(requestPath));
        portal->own(portalName);
        return portal;
    }
};

TEST_F(DesktopInhibitionTest, HoldsWithBothServicesThatAnswerForItAndLeavesThePortalAlone) {
    sessionBus.start();
    const auto gnome = makeCookieService(gnomeName);
    const auto powerManagement = makeCookieService(powerManagementName);
    const auto portal = makePortal();
    startHolding();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    ASSERT_TRUE(waitForLine("power-management held suspend"));
    expectReleaseAtEndOfInput();
    EXPECT_TRUE(pump.until([&] { return gnome->calls().size() == 2 && powerManagement->calls().size() == 2; }));
    EXPECT_THAT(portal->calls(), IsEmpty());
}

TEST_F(DesktopInhibitionTest, AServiceThatAppearsLaterReplacesThePortal) {
    sessionBus.start();
    for (const auto* name : {gnomeName, powerManagementName}) {
        logind.reset();
        const auto portal = makePortal();
        startHolding();
        ASSERT_TRUE(waitForLine("portal asked suspend"));
        const auto service = makeCookieService(name);
        ASSERT_TRUE(pump.until([&] { return portal->calls().size() == 2; }));
        EXPECT_THAT(members(*portal), ElementsAre("Inhibit", "Close"));
        EXPECT_EQ(portal->calls().at(1).path, requestPath);
        EXPECT_THAT(program->lines(),
                    ElementsAre("logind held idle", "portal asked suspend", ::testing::EndsWith(" held suspend")));
        expectReleaseAtEndOfInput();
    }
}

TEST_F(DesktopInhibitionTest, ThePortalIsAskedAgainWhenTheServiceThatReplacedItVanishes) {
    sessionBus.start();
    const auto portal = makePortal();
    auto gnome = makeCookieService(gnomeName);
    startHolding();
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    gnome.reset();
    ASSERT_TRUE(waitForLine("portal asked suspend"));
    EXPECT_THAT(program->lines(),
                ElementsAre("logind held idle", "gnome held suspend", "gnome lost suspend", "portal asked suspend"));
}

TEST_F(DesktopInhibitionTest, ThePortalIsAskedWhenTheServiceThatIsThereRefuses) {
    sessionBus.start();
    const auto portal = makePortal();
    const auto gnome = makeService(ScriptedBusService::withError("org.example.Error.Refused", "No"));
    gnome->own(gnomeName);
    startHolding();
    ASSERT_TRUE(waitForLine("portal asked suspend"));
    EXPECT_THAT(members(*gnome), ElementsAre("Inhibit"));
}

TEST_F(DesktopInhibitionTest, APortalThatAnswersOnlyAfterItWasReplacedIsLetGoThen) {
    sessionBus.start();
    BusMessage openCall;
    const auto portal = makeService([&openCall](sd_bus_message* call) {
        openCall.reset(sd_bus_message_ref(call));
        return 1;
    });
    portal->own(portalName);
    startHolding();
    ASSERT_TRUE(pump.until([&] { return openCall != nullptr; }));
    const auto gnome = makeCookieService(gnomeName);
    ASSERT_TRUE(waitForLine("gnome held suspend"));
    ASSERT_GE(sd_bus_reply_method_return(openCall.get(), "o", requestPath), 0);
    ASSERT_TRUE(pump.until([&] { return portal->calls().size() == 2; }));
    EXPECT_EQ(portal->calls().at(1).path, requestPath);
    EXPECT_EQ(portal->calls().at(1).member, "Close");
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", "gnome held suspend"));
    openCall.reset();
}

TEST_F(DesktopInhibitionTest, AUserOfADesktopThatCannotBeAskedIsToldWhereLogindIgnoresOwnLocks) {
    sessionBus.start();
    ScriptedBusService manager(pump, systemBus.address());
    manager.own("org.freedesktop.systemd1");
    startLogind();
    auto inDesktop = environment();
    inDesktop.emplace_back("WAYLAND_DISPLAY=wayland-0");
    const auto startInDesktop = [&](const char* version) {
        manager.answer("Get",
                       [version](sd_bus_message* call) { return sd_bus_reply_method_return(call, "v", "s", version); });
        spawn(inhibitProgram, {{"-i"}, inDesktop});
    };
    startInDesktop("252.39-1~deb12u2");
    ASSERT_TRUE(pump.until([this] { return program->lines().size() == 2; }));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", ::testing::StartsWith("desktop refused suspend; ")));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();

    startInDesktop("257.9-1~deb13u1");
    ASSERT_TRUE(waitForLine("logind held idle"));
    ASSERT_TRUE(pump.until([&] { return manager.calls().size() == 2; }));
    const auto service = makeCookieService(powerManagementName);
    ASSERT_TRUE(waitForLine("power-management held suspend"));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", "power-management held suspend"));
}

TEST_F(DesktopInhibitionTest, NobodyIsStartedForIt) {
    const auto marker = [this](const char* name) { return sessionBus.folder() / (std::string(name) + ".started"); };
    for (const auto* name : {gnomeName, powerManagementName, portalName}) {
        sessionBus.makeActivatable(name, marker(name));
    }
    sessionBus.start();
    startHolding();
    // A service that appears is asked, which comes after everything that the program does on its own.
    const auto service = makeCookieService(powerManagementName);
    ASSERT_TRUE(waitForLine("power-management held suspend"));
    for (const auto* name : {gnomeName, powerManagementName, portalName}) {
        EXPECT_FALSE(std::filesystem::exists(marker(name))) << name;
    }

    // The bus would have started them: one call that allows it is enough.
    Bus caller;
    checked(sd_bus_new(Receive(caller)), "make a connection");
    checked(sd_bus_set_address(caller.get(), sessionBus.address().c_str()), "set the bus's address");
    checked(sd_bus_set_bus_client(caller.get(), 1), "be a client");
    checked(sd_bus_start(caller.get()), "connect");
    BusSlot reply;
    checked(sd_bus_call_method_async(caller.get(), Receive(reply), gnomeName, "/org/gnome/SessionManager", gnomeName,
                                     "Inhibit", nullptr, nullptr, nullptr),
            "call");
    checked(sd_bus_flush(caller.get()), "send the call");
    EXPECT_TRUE(pump.until([&] { return std::filesystem::exists(marker(gnomeName)); }));
}

} // namespace
} // namespace tavo
