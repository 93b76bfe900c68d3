#include "TavoInhibit/InhibitTest.h"

#include <array>

namespace tavo {
namespace {

using ::testing::ElementsAre;

/// One of the desktop's services as the outside sees it.
struct Interface {
    std::string label;
    std::string name;
    ScriptedBusService::Answer accept;
    ScriptedBusService::Call request;
    ScriptedBusService::Call release;
    std::string acceptedLine;
    std::string lostLine;
    std::string refusedLine;
};

constexpr auto advice =
    "): the desktop may suspend the computer by itself, so switch off automatic suspend in its power "
    "settings";

Interface gnomeInterface() {
    const std::string path = "/org/gnome/SessionManager";
    const std::string name = "org.gnome.SessionManager";
    return {"gnome",
            name,
            ScriptedBusService::withCookie(4711),
            {path, name, "Inhibit", R"("tavo", 0, "Keeping the computer awake as you asked", 4)", false},
            {path, name, "Uninhibit", "4711", false},
            "gnome held suspend",
            "gnome lost suspend",
            std::string("gnome refused suspend; the desktop's session manager refused (not now") + advice};
}

Interface powerManagementInterface() {
    const std::string path = "/org/freedesktop/PowerManagement/Inhibit";
    const std::string interface = "org.freedesktop.PowerManagement.Inhibit";
    return {"powerManagement",
            "org.freedesktop.PowerManagement",
            ScriptedBusService::withCookie(4712),
            {path, interface, "Inhibit", R"("tavo", "Keeping the computer awake as you asked")", false},
            {path, interface, "UnInhibit", "4712", false},
            "power-management held suspend",
            "power-management lost suspend",
            std::string("power-management refused suspend; the desktop's power manager refused (not now") + advice};
}

Interface portalInterface() {
    const std::string request = "/org/freedesktop/portal/desktop/request/1_42/t";
    return {"portal",
            "org.freedesktop.portal.Desktop",
            ScriptedBusService::withPath(request),
            {"/org/freedesktop/portal/desktop", "org.freedesktop.portal.Inhibit", "Inhibit",
             R"("", 4, {"reason": "Keeping the computer awake as you asked"})", false},
            {request, "org.freedesktop.portal.Request", "Close", "", false},
            "portal asked suspend",
            "portal lost suspend",
            std::string("portal refused suspend; the desktop's portal refused (not now") + advice};
}

void PrintTo(const Interface& interface, std::ostream* stream) { // NOLINT(readability-identifier-naming): GoogleTest's
    *stream << interface.label;
}

class DesktopServiceTest : public InhibitTest, public ::testing::WithParamInterface<Interface> {
protected:
    DesktopServiceTest() { sessionBus.start(); }

    /// A service on the session bus that accepts, and does not own its name yet.
    std::unique_ptr<ScriptedBusService> makeService() {
        auto service = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        service->answer("Inhibit", GetParam().accept);
        return service;
    }

    void waitUntilAsked(const ScriptedBusService& service) {
        ASSERT_TRUE(pump.until([&] { return !service.calls().empty(); }));
    }
};

INSTANTIATE_TEST_SUITE_P(Every, DesktopServiceTest,
                         ::testing::Values(gnomeInterface(), powerManagementInterface(), portalInterface()),
                         [](const auto& chosen) { return chosen.param.label; });

TEST_P(DesktopServiceTest, IsAskedAfterLogindAndLetGoAtTheEndOfInput) {
    const auto service = makeService();
    service->own(GetParam().name);
    startHolding();
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    EXPECT_THAT(service->calls(), ElementsAre(GetParam().request));
    expectReleaseAtEndOfInput();
    EXPECT_TRUE(pump.until([&] { return service->calls().size() == 2; }));
    EXPECT_THAT(service->calls(), ElementsAre(GetParam().request, GetParam().release));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", GetParam().acceptedLine));
}

TEST_P(DesktopServiceTest, IsAskedOnceItAppears) {
    startHolding();
    const auto service = makeService();
    service->own(GetParam().name);
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    EXPECT_THAT(service->calls(), ElementsAre(GetParam().request));
}

TEST_P(DesktopServiceTest, IsLostWhenItVanishesAndAskedAnewWhenItReturns) {
    auto service = makeService();
    service->own(GetParam().name);
    startHolding();
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    service.reset();
    ASSERT_TRUE(waitForLine(GetParam().lostLine));
    EXPECT_EQ(logind->heldLocks(), 1U);
    service = makeService();
    service->own(GetParam().name);
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine, 2));
    expectReleaseAtEndOfInput();
}

TEST_P(DesktopServiceTest, IsLostWithItsOwnerAndTheNewOwnerIsAsked) {
    const auto first = makeService();
    first->own(GetParam().name, true);
    startHolding();
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    const auto second = makeService();
    second->own(GetParam().name);
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine, 2));
    EXPECT_THAT(second->calls(), ElementsAre(GetParam().request));
    EXPECT_THAT(program->lines(),
                ElementsAre("logind held idle", GetParam().acceptedLine, GetParam().lostLine, GetParam().acceptedLine));
}

TEST_P(DesktopServiceTest, IsLostWithItsBusAndAskedAnewWhenBothReturn) {
    for (const auto signal : {SIGKILL, SIGTERM}) {
        auto service = makeService();
        service->own(GetParam().name);
        startHolding();
        ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
        sessionBus.stop(signal);
        ASSERT_TRUE(waitForLine(GetParam().lostLine));
        EXPECT_EQ(logind->heldLocks(), 1U);
        sessionBus.start();
        service = makeService();
        service->own(GetParam().name);
        ASSERT_TRUE(waitForLine(GetParam().acceptedLine, 2));
        expectReleaseAtEndOfInput();
        EXPECT_THAT(program->lines(), ElementsAre("logind held idle", GetParam().acceptedLine, GetParam().lostLine,
                                                  GetParam().acceptedLine));
        logind.reset();
    }
}

TEST_P(DesktopServiceTest, DelaysNothingWhenItNeverAnswers) {
    const auto service = makeService();
    service->answer("Inhibit", ScriptedBusService::never());
    service->own(GetParam().name);
    startHolding();
    waitUntilAsked(*service);
    expectReleaseAtEndOfInput();
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle"));
}

TEST_P(DesktopServiceTest, ThatEndsWithItsBusBeforeAnsweringIsNotCalledRefusing) {
    const auto service = makeService();
    service->answer("Inhibit", ScriptedBusService::never());
    service->own(GetParam().name);
    startHolding();
    waitUntilAsked(*service);
    sessionBus.stop(SIGKILL);
    sessionBus.start();
    const auto returned = makeService();
    returned->own(GetParam().name);
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", GetParam().acceptedLine));
}

TEST_P(DesktopServiceTest, RefusingWithAnErrorIsToldInItsOwnHarmlessWords) {
    const auto service = makeService();
    service->answer("Inhibit", ScriptedBusService::withError("org.example.Error.Refused", "Not\nnow."));
    service->own(GetParam().name);
    startHolding();
    ASSERT_TRUE(waitForLine(GetParam().refusedLine));
    EXPECT_EQ(logind->heldLocks(), 1U);
    expectReleaseAtEndOfInput();
    EXPECT_THAT(service->calls(), ElementsAre(GetParam().request));
}

TEST_P(DesktopServiceTest, IsAskedAgainWhileItsObjectIsNotThereYet) {
    const auto service = makeService();
    auto attempts = 0;
    const auto accept = GetParam().accept;
    service->answer("Inhibit", [&attempts, accept](sd_bus_message* call) {
        constexpr std::array<const char*, 3> missing{SD_BUS_ERROR_UNKNOWN_OBJECT, SD_BUS_ERROR_UNKNOWN_METHOD,
                                                     SD_BUS_ERROR_UNKNOWN_INTERFACE};
        const auto attempt = static_cast<std::size_t>(attempts++);
        return attempt < missing.size() ? sd_bus_reply_method_errorf(call, missing.at(attempt), "No such object path")
                                        : accept(call);
    });
    service->own(GetParam().name);
    startHolding();
    ASSERT_TRUE(waitForLine(GetParam().acceptedLine));
    EXPECT_EQ(attempts, 4);
    expectReleaseAtEndOfInput();
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", GetParam().acceptedLine));
}

TEST_P(DesktopServiceTest, AnsweringWithSomethingElseCountsAsRefusing) {
    const auto service = makeService();
    service->answer("Inhibit", ScriptedBusService::withNothing());
    service->own(GetParam().name);
    startHolding();
    ASSERT_TRUE(pump.until([this] { return program->lines().size() == 2; }));
    EXPECT_THAT(program->lines().at(1), ::testing::HasSubstr(" refused suspend; "));
    EXPECT_THAT(program->lines().at(1), ::testing::HasSubstr("its answer is not understood"));
}

} // namespace
} // namespace tavo
