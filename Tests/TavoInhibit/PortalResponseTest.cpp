#include "TavoInhibit/InhibitTest.h"

namespace tavo {
namespace {

using ::testing::ElementsAre;

constexpr auto portalName = "org.freedesktop.portal.Desktop";
constexpr auto requestPath = "/org/freedesktop/portal/desktop/request/1_42/t";
constexpr auto askedLine = "portal asked suspend";
constexpr auto heldLine = "portal held suspend";

std::string refusedLine(const std::string& reason) {
    return "portal refused suspend; the desktop's portal refused (" + reason +
           "): the desktop may suspend the computer by itself, so switch off automatic suspend in its power settings";
}

/// A portal that takes the request, and says later what became of it.
class PortalResponseTest : public InhibitTest {
protected:
    PortalResponseTest() {
        sessionBus.start();
        portal = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        portal->answer("Inhibit", [this](sd_bus_message* call) {
            portalBus = sd_bus_message_get_bus(call);
            if (earlyResponse) {
                respond(*earlyResponse);
            }
            return sd_bus_reply_method_return(call, "o", requestPath);
        });
        portal->own(portalName);
    }
    void startAsked() {
        startHolding();
        ASSERT_TRUE(waitForLine(askedLine));
    }

    void respond(std::uint32_t response, const char* path = requestPath) {
        checked(
            sd_bus_emit_signal(portalBus, path, "org.freedesktop.portal.Request", "Response", "ua{sv}", response, 0),
            "send the answer");
    }

    sd_bus* portalBus = nullptr;
    std::optional<std::uint32_t> earlyResponse;
    std::unique_ptr<ScriptedBusService> portal;
};

TEST_F(PortalResponseTest, ZeroMeansThatItHolds) {
    startAsked();
    respond(0);
    EXPECT_TRUE(waitForLine(heldLine));
    expectReleaseAtEndOfInput();
    ASSERT_TRUE(pump.until([&] { return portal->calls().size() == 2; }));
    EXPECT_EQ(portal->calls().at(1).member, "Close");
    EXPECT_EQ(portal->calls().at(1).path, requestPath);
}

TEST_F(PortalResponseTest, AnythingElseIsARefusal) {
    for (const auto response : {1U, 2U}) {
        logind.reset();
        startAsked();
        respond(response);
        EXPECT_TRUE(waitForLine(refusedLine("response " + std::to_string(response))));
        EXPECT_EQ(logind->heldLocks(), 1U);
        expectReleaseAtEndOfInput();
    }
}

TEST_F(PortalResponseTest, AnUnknownNumberIsARefusalToo) {
    startAsked();
    respond(77);
    EXPECT_TRUE(waitForLine(refusedLine("its answer is not understood")));
}

TEST_F(PortalResponseTest, ThatOvertakesTheReplyCounts) {
    earlyResponse = 2;
    startHolding();
    EXPECT_TRUE(waitForLine(refusedLine("response 2")));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", askedLine, refusedLine("response 2")));
}

TEST_F(PortalResponseTest, OfAnotherRequestOrAnotherSenderIsIgnored) {
    startAsked();
    respond(2, "/org/freedesktop/portal/desktop/request/1_43/u");
    Bus stranger;
    checked(sd_bus_new(Receive(stranger)), "make a connection");
    checked(sd_bus_set_address(stranger.get(), sessionBus.address().c_str()), "set the bus's address");
    checked(sd_bus_set_bus_client(stranger.get(), 1), "be a client");
    checked(sd_bus_start(stranger.get()), "connect");
    checked(
        sd_bus_emit_signal(stranger.get(), requestPath, "org.freedesktop.portal.Request", "Response", "ua{sv}", 2U, 0),
        "send a false answer");
    checked(sd_bus_flush(stranger.get()), "send it now");
    respond(0);
    EXPECT_TRUE(waitForLine(heldLine));
    EXPECT_THAT(program->lines(), ElementsAre("logind held idle", askedLine, heldLine));
}

} // namespace
} // namespace tavo
