#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"

#include "Support/SystemBusTest.h"

#include <csignal>
#include <set>

namespace tavo {
namespace {

class LogindLidSwitchTest : public SystemBusTest {
protected:
    /// A logind whose every text is this word and whose every flag is true.
    void startLogind(const std::string& word) {
        startService().answer("Get", [this, word](sd_bus_message* call) {
            callers.insert(sd_bus_message_get_sender(call));
            const auto& question = service->calls().back().arguments;
            const bool isFlag = question.ends_with("\"LidClosed\"") || question.ends_with("\"OnExternalPower\"") ||
                                question.ends_with("\"Docked\"");
            return isFlag ? sd_bus_reply_method_return(call, "v", "b", 1)
                          : sd_bus_reply_method_return(call, "v", "s", word.c_str());
        });
    }

    LidSwitchActions actions() {
        return answered([this] { return logind.actions(); });
    }

    const LogindLidSwitch logind;
    std::set<std::string> callers;
};

TEST_F(LogindLidSwitchTest, ManyReadingsTakeOneConnection) {
    startLogind("suspend");
    for (int reading = 0; reading < 10; ++reading) {
        EXPECT_EQ(actions(), (LidSwitchActions{"suspend", "suspend"}));
    }
    EXPECT_TRUE(answered([this] { return logind.situation(); }).isLidClosed);
    EXPECT_EQ(callers.size(), 1U);
}

TEST_F(LogindLidSwitchTest, ABusThatWasRestartedIsAskedAllTheSame) {
    startLogind("suspend");
    EXPECT_EQ(actions().onBattery, "suspend");
    service.reset();
    bus.stop(SIGKILL);
    EXPECT_THROW(logind.actions(), BusError);
    bus.start();
    startLogind("ignore");
    EXPECT_EQ(actions().onBattery, "ignore");
    service.reset();
    bus.stop(SIGKILL);
    bus.start();
    startLogind("suspend");
    EXPECT_EQ(actions().onBattery, "suspend") << "the end of the connection was not noticed before";
}

TEST_F(LogindLidSwitchTest, ARefusalIsNotAskedAgain) {
    startLogind("suspend");
    EXPECT_EQ(actions().onBattery, "suspend");
    const auto before = service->calls().size();
    service->answer("Get", ScriptedBusService::withError("org.freedesktop.DBus.Error.AccessDenied", "no"));
    EXPECT_THROW(actions(), BusError);
    EXPECT_EQ(service->calls().size(), before + 1);
}

} // namespace
} // namespace tavo
