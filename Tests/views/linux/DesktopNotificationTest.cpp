#include "app/views/DesktopNotification.h"

#include "Support/PrivateBus.h"
#include "Support/ScriptedBusService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QString>
#include <csignal>

namespace tavo {
namespace {

TEST(DesktopNotification, IsTheApplicationsOwn) {
    BusPump pump;
    ScriptedBusService server(pump, qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").toStdString());
    server.own("org.freedesktop.Notifications");
    // Qt waits for the bus alone to say who is there.
    notifyUser(nullptr, "tavo", "needs attention: <b>codex</b> has gone");
    ASSERT_TRUE(pump.until([&] { return !server.calls().empty(); }));
    EXPECT_EQ(server.calls().front().member, "Notify");
    EXPECT_EQ(server.calls().front().arguments,
              R"("tavo", 0, "com.vrd.tavo", "tavo", "needs attention: &lt;b&gt;codex&lt;/b&gt; has gone", {}, )"
              R"({"desktop-entry": "com.vrd.tavo"}, <i>)");
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    tavo::PrivateBus bus;
    bus.start();
    qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&count, values);
    const QApplication application(count, values);
    return RUN_ALL_TESTS();
}
