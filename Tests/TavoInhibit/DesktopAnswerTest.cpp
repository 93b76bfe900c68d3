#include "Support/PrivateBus.h"
#include "Support/ScriptedBusService.h"
#include "TavoInhibit/DesktopInhibition.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <optional>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr auto gnomeName = "org.gnome.SessionManager";
constexpr auto powerManagementName = "org.freedesktop.PowerManagement";
constexpr auto portalName = "org.freedesktop.portal.Desktop";
constexpr auto nobodyLine = "desktop refused suspend; no service of this desktop has taken the request to stay awake, "
                            "and logind before systemd "
                            "257 ignores a lock when its own user asks to suspend: the desktop may suspend the "
                            "computer by itself, so switch off "
                            "automatic suspend in its power settings";
constexpr auto forEver = std::chrono::hours{1};

/// The requests to a desktop whose own suspend logind's lock does not hold back, in this process and with short waits.
class DesktopAnswerTest : public ::testing::Test {
protected:
    DesktopAnswerTest() {
        EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK), 0);
        report.emplace(pipe[1]);
    }
    ~DesktopAnswerTest() override {
        watch.reset();
        desktop.reset();
        ::close(pipe[0]);
        ::close(pipe[1]);
    }
    DesktopAnswerTest(const DesktopAnswerTest&) = delete;
    DesktopAnswerTest& operator=(const DesktopAnswerTest&) = delete;

    void startAsking() {
        desktop.emplace(pump.event(), *report, patience);
        watch.emplace(pump.event(), SessionBusAddress{.address = sessionBus.address(), .socket = sessionBus.socket()},
                      *desktop);
    }

    void startReporting() {
        startAsking();
        desktop->reportWhenNobodyAccepts();
    }

    std::unique_ptr<ScriptedBusService> makeService(const std::string& name, ScriptedBusService::Answer answer) {
        auto service = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        service->answer("Inhibit", std::move(answer));
        service->own(name);
        return service;
    }

    bool waitForLines(std::size_t count) {
        return pump.until([&] {
            readLines();
            return lines.size() >= count;
        });
    }

    void readLines() {
        std::array<char, 4096> chunk{};
        for (auto count = ::read(pipe[0], chunk.data(), chunk.size()); count > 0;
             count = ::read(pipe[0], chunk.data(), chunk.size())) {
            unread.append(chunk.data(), static_cast<std::size_t>(count));
        }
        for (auto end = unread.find('\n'); end != std::string::npos; end = unread.find('\n')) {
            lines.push_back(unread.substr(0, end));
            unread.erase(0, end + 1);
        }
    }

    PrivateBus sessionBus;
    BusPump pump;
    std::array<int, 2> pipe{-1, -1};
    std::optional<Report> report;
    DesktopPatience patience{.firstPause = std::chrono::milliseconds{1},
                             .retries = 3,
                             .whileNobodyAnswers = std::chrono::milliseconds{20},
                             .whileUndecided = forEver};
    std::optional<DesktopInhibition> desktop;
    std::optional<SessionBusWatch> watch;
    std::vector<std::string> lines;
    std::string unread;
};

TEST(DesktopPatience, ServicesAreAskedAgainForHalfAMinuteWithGrowingPauses) {
    const DesktopPatience patience;
    std::chrono::microseconds total{0};
    for (auto retry = 0; retry < patience.retries; ++retry) {
        total += patience.pauseBefore(retry);
    }
    EXPECT_GE(total, std::chrono::seconds{30});
    EXPECT_LE(total, std::chrono::seconds{35});
}

TEST_F(DesktopAnswerTest, ADesktopWithoutAnyServiceIsSaidToRefuse) {
    sessionBus.start();
    startReporting();
    ASSERT_TRUE(waitForLines(1));
    EXPECT_THAT(lines, ElementsAre(nobodyLine));
}

TEST_F(DesktopAnswerTest, ASessionWithoutABusIsSaidToRefuse) {
    startReporting();
    ASSERT_TRUE(waitForLines(1));
    EXPECT_THAT(lines, ElementsAre(nobodyLine));
}

TEST_F(DesktopAnswerTest, NothingIsSaidWhereLogindsLockHoldsTheDesktopBack) {
    sessionBus.start();
    startAsking();
    auto gnome = makeService(gnomeName, ScriptedBusService::withCookie(1));
    ASSERT_TRUE(waitForLines(1));
    gnome.reset();
    ASSERT_TRUE(waitForLines(2));
    gnome = makeService(gnomeName, ScriptedBusService::withCookie(1));
    ASSERT_TRUE(waitForLines(3));
    EXPECT_THAT(lines, ElementsAre("gnome held suspend", "gnome lost suspend", "gnome held suspend"));
}

TEST_F(DesktopAnswerTest, AServiceThatAcceptsKeepsItSilentUntilItVanishes) {
    sessionBus.start();
    auto service = makeService(powerManagementName, ScriptedBusService::withCookie(1));
    startAsking();
    ASSERT_TRUE(waitForLines(1));
    desktop->reportWhenNobodyAccepts();
    service.reset();
    ASSERT_TRUE(waitForLines(3));
    EXPECT_THAT(lines, ElementsAre("power-management held suspend", "power-management lost suspend", nobodyLine));
    service = makeService(powerManagementName, ScriptedBusService::withCookie(1));
    ASSERT_TRUE(waitForLines(4));
    service.reset();
    ASSERT_TRUE(waitForLines(6));
    EXPECT_EQ(lines.back(), nobodyLine) << "it is reported again";
}

TEST_F(DesktopAnswerTest, AServiceThatRefusesSaysItForTheDesktop) {
    sessionBus.start();
    patience.whileNobodyAnswers = std::chrono::microseconds{1};
    patience.whileUndecided = std::chrono::microseconds{1};
    const auto gnome = makeService(gnomeName, ScriptedBusService::withError("org.example.Error.Refused", "No"));
    startAsking();
    ASSERT_TRUE(waitForLines(1));
    desktop->reportWhenNobodyAccepts();
    const auto other = makeService(powerManagementName, ScriptedBusService::withCookie(1));
    ASSERT_TRUE(waitForLines(2));
    EXPECT_THAT(lines, ElementsAre(StartsWith("gnome refused suspend; "), "power-management held suspend"));
}

TEST_F(DesktopAnswerTest, APortalThatDoesNotAnswerIsNotWaitedForForEver) {
    sessionBus.start();
    patience.whileUndecided = std::chrono::milliseconds{20};
    patience.whileNobodyAnswers = forEver;
    sd_bus* portalBus = nullptr;
    const auto* const path = "/org/freedesktop/portal/desktop/request/1_42/t";
    const auto portal = makeService(portalName, [&](sd_bus_message* call) {
        portalBus = sd_bus_message_get_bus(call);
        return sd_bus_reply_method_return(call, "o", path);
    });
    startReporting();
    ASSERT_TRUE(waitForLines(2));
    EXPECT_THAT(lines, ElementsAre("portal asked suspend", nobodyLine));
    checked(sd_bus_emit_signal(portalBus, path, "org.freedesktop.portal.Request", "Response", "ua{sv}", 0U, 0),
            "send the answer");
    EXPECT_TRUE(waitForLines(3));
    EXPECT_EQ(lines.back(), "portal held suspend");
}

TEST_F(DesktopAnswerTest, AnObjectThatNeverComesIsARefusalAfterTheLastRetry) {
    sessionBus.start();
    const auto service = makeService(powerManagementName,
                                     ScriptedBusService::withError(SD_BUS_ERROR_UNKNOWN_OBJECT, "No such object path"));
    startAsking();
    ASSERT_TRUE(waitForLines(1));
    EXPECT_THAT(lines, ElementsAre(StartsWith("power-management refused suspend; ")));
    EXPECT_EQ(service->calls().size(), 4U);
}

} // namespace
} // namespace tavo
