#include "TavoControl/linux/DesktopCheck.h"

#include "Support/PrivateBus.h"
#include "TavoControl/CommandTest.h"
#include "TavoInhibit/ScriptedLogind.h"
#include "runtime/linux/InhibitorCommandRunner.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <future>

namespace tavo {
namespace {

using ::testing::HasSubstr;

constexpr auto powerManagementName = "org.freedesktop.PowerManagement";
constexpr auto portalName = "org.freedesktop.portal.Desktop";

/// Starts the assertion's child as an ordinary user: root has no session bus.
class OrdinaryUsersRunner final : public CommandRunning {
public:
    explicit OrdinaryUsersRunner(std::shared_ptr<AssertionStatus> assertionStatus)
        : runner(nullptr, std::move(assertionStatus)) {}

    bool supportsPrivilegedCommands() const override { return false; }
    ShellCommandResult run(const ShellCommand& command) override { return runner.run(command); }

    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override {
        if (::geteuid() != 0) {
            return runner.start(command);
        }
        ShellCommand asNobody{.executableURL = "/usr/bin/setpriv",
                              .arguments = {"--reuid=65534", "--regid=65534", "--clear-groups", command.executableURL}};
        asNobody.arguments.insert(asNobody.arguments.end(), command.arguments.begin(), command.arguments.end());
        return runner.start(asNobody);
    }

private:
    InhibitorCommandRunner runner;
};

/// A session bus with a desktop's services, and a logind that grants every lock.
class DesktopCheckTest : public CommandTest {
protected:
    DesktopCheckTest() : logind(pump, startedBus(systemBus).address()) {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().c_str(), 1);
        ::setenv("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().c_str(), 1);
        platform.assertionStatus = std::make_shared<AssertionStatus>();
        platform.assertionRunner = std::make_shared<OrdinaryUsersRunner>(platform.assertionStatus);
        platform.wakePlanBuilder.assertionExecutable = systemBus.folder() / "tavo-inhibit";
        // The build may be in a folder that only root may enter.
        std::filesystem::copy_file(TAVO_INHIBIT_PROGRAM, platform.wakePlanBuilder.assertionExecutable);
    }
    ~DesktopCheckTest() override {
        ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    DesktopCheckTest(const DesktopCheckTest&) = delete;
    DesktopCheckTest& operator=(const DesktopCheckTest&) = delete;

    static PrivateBus& startedBus(PrivateBus& bus) {
        bus.start();
        return bus;
    }

    void startService(const std::string& name, ScriptedBusService::Answer answer) {
        service.emplace(pump, sessionBus.address());
        service->answer("Inhibit", std::move(answer));
        service->own(name);
    }

    /// Checks on another thread while the services answer on this one.
    SystemCheck check(bool isNeeded, std::chrono::milliseconds bound = std::chrono::seconds{15}) {
        auto answer = std::async(std::launch::async, [&] { return checkDesktop(platform, isNeeded, bound); });
        EXPECT_TRUE(pump.until([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    PrivateBus systemBus;
    PrivateBus sessionBus;
    BusPump pump;
    ScriptedLogind logind;
    std::optional<ScriptedBusService> service;
};

TEST_F(DesktopCheckTest, ADesktopWithNobodyToAskIsNotFineWhereItHasToAccept) {
    for (const bool hasBus : {false, true}) {
        if (hasBus) {
            sessionBus.start();
        }
        const auto needed = check(true);
        EXPECT_EQ(needed.verdict, CheckVerdict::limited);
        EXPECT_EQ(needed.finding, "no service of this desktop can be told to stay awake");
        EXPECT_THAT(needed.advice, HasSubstr("switch off automatic suspend"));
        EXPECT_EQ(check(false).verdict, CheckVerdict::fine);
    }
    EXPECT_TRUE(logind.calls().empty());
}

TEST_F(DesktopCheckTest, AServiceThatAcceptsIsFineAndReleased) {
    sessionBus.start();
    startService(powerManagementName, ScriptedBusService::withCookie(1));
    const auto found = check(true);
    EXPECT_EQ(found.verdict, CheckVerdict::fine) << found.finding;
    EXPECT_EQ(found.finding, "accepts the request to stay awake (power management)");
    EXPECT_TRUE(pump.until([&] { return logind.heldLocks() == 0; }));
}

TEST_F(DesktopCheckTest, ARefusalIsSaidInFull) {
    sessionBus.start();
    startService(powerManagementName, ScriptedBusService::withError("org.example.Error.Refused", "Not now"));
    const auto found = check(false, std::chrono::seconds{3});
    EXPECT_EQ(found.verdict, CheckVerdict::limited);
    EXPECT_THAT(found.finding, HasSubstr("the desktop's power manager refused (not now)"));
}

TEST_F(DesktopCheckTest, APortalThatOnlyTookTheRequestIsNotFine) {
    sessionBus.start();
    startService(portalName, ScriptedBusService::withPath("/org/freedesktop/portal/desktop/request/1_42/t"));
    const auto found = check(true, std::chrono::milliseconds{500});
    EXPECT_EQ(found.verdict, CheckVerdict::limited);
    EXPECT_EQ(found.finding, "desktop portal did not answer in time");
}

} // namespace
} // namespace tavo
