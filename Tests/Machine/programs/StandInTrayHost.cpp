// Stands in for a desktop's tray, as far as an application sees: org.kde.StatusNotifierWatcher on the session bus.
//
//   stand-in-tray-host ITEMS
//
// Each item that registers becomes a line of the file ITEMS, the bus name of its application. There is no host until
// SIGUSR1. Runs until it is ended.

#include "Support/BusPump.h"

#include <fmt/format.h>

#include <csignal>
#include <fstream>
#include <string>

namespace tavo {
namespace {

constexpr const char* name = "org.kde.StatusNotifierWatcher";
constexpr const char* path = "/StatusNotifierWatcher";

class StandInTrayHost {
public:
    explicit StandInTrayHost(std::string items) : items(std::move(items)) {
        static const sd_bus_vtable table[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", onItem, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", onQuestion, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
            SD_BUS_SIGNAL("StatusNotifierHostRegistered", "", 0), SD_BUS_VTABLE_END};
        checked(sd_bus_open_user(Receive(bus)), "connect to the session bus");
        checked(sd_bus_attach_event(bus.get(), &pump.event(), SD_EVENT_PRIORITY_NORMAL), "attach to the loop");
        checked(sd_bus_add_object_vtable(bus.get(), Receive(object), path, name, table, this), "serve the watcher");
        sd_event_source* source = nullptr; // goes with the loop
        checked(sd_event_add_signal(&pump.event(), &source, SIGUSR1, onHost, this), "wait for SIGUSR1");
        checked(sd_bus_request_name(bus.get(), name, 0), "own the name");
    }

    void serve() {
        for (;;) {
            pump.until([] { return false; });
        }
    }

private:
    static int onItem(sd_bus_message* call, void* self, sd_bus_error*) {
        const char* item = nullptr;
        checked(sd_bus_message_read(call, "s", &item), "read an item");
        // Some applications name an object and leave their bus name to the message.
        const std::string service = *item == '/' ? sd_bus_message_get_sender(call) : item;
        std::ofstream(static_cast<StandInTrayHost*>(self)->items, std::ios::app) << service << "\n";
        return sd_bus_reply_method_return(call, nullptr);
    }

    static int onQuestion(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* self,
                          sd_bus_error*) {
        return sd_bus_message_append(reply, "b", static_cast<int>(static_cast<StandInTrayHost*>(self)->hasHost));
    }

    static int onHost(sd_event_source*, const signalfd_siginfo*, void* self) {
        auto& host = *static_cast<StandInTrayHost*>(self);
        host.hasHost = true;
        return sd_bus_emit_signal(host.bus.get(), path, name, "StatusNotifierHostRegistered", nullptr);
    }

    std::string items;
    BusPump pump;
    Bus bus;
    BusSlot object;
    bool hasHost = false;
};

} // namespace
} // namespace tavo

int main(int count, char** values) {
    if (count != 2) {
        fmt::print(stderr, "usage: stand-in-tray-host ITEMS\n");
        return 64;
    }
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    try {
        tavo::StandInTrayHost(values[1]).serve();
    } catch (const std::exception& error) {
        fmt::print(stderr, "stand-in-tray-host: {}\n", error.what());
        return 1;
    }
}
