#include "app/views/linux/StatusNotifierHosts.h"

#include "Support/BusPump.h"
#include "Support/PrivateBus.h"
#include "Support/ScriptedBusService.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <csignal>

namespace tavo {
namespace {

const std::string watcherName = "org.kde.StatusNotifierWatcher";

class StatusNotifierHostsTest : public testing::Test {
protected:
    StatusNotifierHostsTest() { bus.start(); }

    ~StatusNotifierHostsTest() override { QDBusConnection::disconnectFromBus("test"); }

    StatusNotifierHosts& watch() {
        hosts = std::make_unique<StatusNotifierHosts>(
            QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "test"));
        return *hosts;
    }

    /// A service with the watcher's name and, when `hasHost`, a host.
    std::unique_ptr<ScriptedBusService> beginWatcher(bool hasHost) {
        auto service = std::make_unique<ScriptedBusService>(pump, bus.address());
        service->answer("Get", [this, hasHost](sd_bus_message* call) {
            connection = sd_bus_message_get_bus(call);
            return sd_bus_reply_method_return(call, "v", "b", static_cast<int>(hasHost || isHostThere));
        });
        service->own(watcherName);
        return service;
    }

    bool until(const std::function<bool()>& happened) {
        return pump.until([&] {
            QCoreApplication::processEvents();
            return happened();
        });
    }

    PrivateBus bus;
    BusPump pump;
    bool isHostThere = false;
    sd_bus* connection = nullptr;
    std::unique_ptr<StatusNotifierHosts> hosts;
};

TEST_F(StatusNotifierHostsTest, AHostThatIsThereIsFound) {
    const auto service = beginWatcher(true);
    EXPECT_TRUE(until([&, &found = watch()] { return found.areThere(); }));
}

TEST_F(StatusNotifierHostsTest, AHostThatComesLaterIsFoundEachTime) {
    auto& found = watch();
    int changes = 0;
    QObject::connect(&found, &StatusNotifierHosts::changed, &found, [&] { ++changes; });
    for (const int round : {1, 2}) {
        EXPECT_FALSE(found.areThere());
        auto service = beginWatcher(true);
        EXPECT_TRUE(until([&] { return found.areThere(); })) << round;
        service.reset();
        EXPECT_TRUE(until([&] { return !found.areThere(); })) << round;
    }
    EXPECT_EQ(changes, 4);
}

TEST_F(StatusNotifierHostsTest, AWatcherWithoutAHostShowsNothingUntilOneRegisters) {
    auto& found = watch();
    const auto service = beginWatcher(false);
    ASSERT_TRUE(until([&] { return connection != nullptr; }));
    EXPECT_FALSE(found.areThere());
    for (const bool isThere : {true, false}) {
        isHostThere = isThere;
        sd_bus_emit_signal(connection, "/StatusNotifierWatcher", watcherName.c_str(),
                           isThere ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered", nullptr);
        EXPECT_TRUE(until([&] { return found.areThere() == isThere; })) << isThere;
    }
}

TEST_F(StatusNotifierHostsTest, AWatcherThatRefusesToAnswerShowsNothing) {
    const auto service = beginWatcher(true);
    service->answer("Get", ScriptedBusService::withError("org.freedesktop.DBus.Error.Failed", "no."));
    auto& found = watch();
    ASSERT_TRUE(until([&] { return !service->calls().empty(); }));
    EXPECT_FALSE(found.areThere());
    EXPECT_FALSE(service->calls().front().mayStartService) << "nobody is started for it";
}

TEST_F(StatusNotifierHostsTest, WithoutABusThereIsNone) {
    StatusNotifierHosts none(QDBusConnection("no such connection"));
    EXPECT_FALSE(none.areThere());
}

} // namespace
} // namespace tavo
