#include "system/linux/KernelEvents.h"

#include "Support/KernelEventSender.h"
#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

namespace tavo {
namespace {

using namespace std::string_literals;

TEST(KernelEvents, APowerSupplysEventIsToldByItsSubsystem) {
    struct Row {
        std::string message;
        bool hasPowerSupplyEvent;
    };
    const std::vector<Row> rows{
        {KernelEventSender::powerSupplyChange(), true},
        {"change@/devices/x\0SUBSYSTEM=power_supply"s, true},
        {"change@/devices/x\0SUBSYSTEM=block\0"s, false},
        {"change@/devices/x\0SUBSYSTEM=power_supply_other\0"s, false},
        {"change@/devices/x\0XSUBSYSTEM=power_supply\0"s, false},
        {"change@/devices/power_supply/BAT0\0ACTION=change\0"s, false},
        {"change@SUBSYSTEM=power_supply\0ACTION=change\0"s, false},
        {"change@/devices/x\0SUBSYSTEM=power_supply\n\0"s, false},
        {"\0\0\0"s, false},
        {""s, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isPowerSupplyEvent(row.message), row.hasPowerSupplyEvent) << row.message;
    }
}

/// Runs `test` on a thread with a network namespace of its own, where events reach nobody else.
void inOwnNetwork(const std::function<void()>& test) {
    bool isPossible = false;
    std::thread thread([&] {
        isPossible = unshare(CLONE_NEWNET) == 0;
        if (isPossible) {
            test();
        }
    });
    thread.join();
    if (!isPossible) {
        GTEST_SKIP() << "a network namespace takes root";
    }
}

/// Whether no listener of this thread's network namespace has a message that it has not read: the column Rmem of
/// /proc/net/netlink, whose second column is the protocol and whose fourth one the groups.
bool isEverythingRead() {
    std::ifstream table("/proc/thread-self/net/netlink");
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream columns(line);
        std::string socket, protocol, port, groups, unread;
        columns >> socket >> protocol >> port >> groups >> unread;
        if (protocol == std::to_string(NETLINK_KOBJECT_UEVENT) && groups == "00000001" && unread != "0") {
            return false;
        }
    }
    return true;
}

TEST(KernelPowerChanges, TellsOfWhatTheKernelSaysOfAPowerSupply) {
    inOwnNetwork([] {
        std::atomic<int> notified = 0;
        const auto watch = KernelPowerChanges().watch([&] { ++notified; });
        const KernelEventSender sender;
        sender.sendThroughKernel(KernelEventSender::powerSupplyChange());
        EXPECT_TRUE(waitUntil([&] { return notified == 1; }));
        sender.sendThroughKernel(KernelEventSender::powerSupplyChange());
        EXPECT_TRUE(waitUntil([&] { return notified == 2; }));
    });
}

TEST(KernelPowerChanges, IgnoresOtherDevicesAndOtherSenders) {
    inOwnNetwork([] {
        std::atomic<int> notified = 0;
        auto watch = KernelPowerChanges().watch([&] { ++notified; });
        const KernelEventSender sender;
        sender.sendToGroup(KernelEventSender::powerSupplyChange());
        sender.sendThroughKernel("change@/devices/x\0ACTION=change\0DEVPATH=/devices/x\0SUBSYSTEM=block\0"s);
        EXPECT_TRUE(waitUntil(isEverythingRead));
        // An event that has been read is announced before the watch ends.
        watch.reset();
        EXPECT_EQ(notified, 0);
    });
}

TEST(KernelPowerChanges, EventsThatWereLostMayHaveBeenAboutAPowerSupply) {
    inOwnNetwork([] {
        std::atomic<bool> mayGoOn = false;
        std::atomic<int> notified = 0;
        const auto watch = KernelPowerChanges().watch([&] {
            ++notified;
            waitUntil([&] { return mayGoOn.load(); });
        });
        const KernelEventSender sender;
        sender.sendThroughKernel(KernelEventSender::powerSupplyChange());
        ASSERT_TRUE(waitUntil([&] { return notified == 1; }));
        // While nobody reads, more comes in than the socket can hold.
        const auto filler = "change@/devices/x\0ACTION=change\0DEVPATH=/devices/x\0SUBSYSTEM=block\0"s;
        for (int count = 0; count < 5000; ++count) {
            sender.sendThroughKernel(filler);
        }
        mayGoOn = true;
        EXPECT_TRUE(waitUntil([&] { return notified == 2; }));
    });
}

TEST(KernelPowerChanges, AWatchEndsAtOnce) {
    std::atomic<int> notified = 0;
    KernelPowerChanges().watch([&] { ++notified; }).reset();
    EXPECT_EQ(notified, 0);
}

} // namespace
} // namespace tavo
