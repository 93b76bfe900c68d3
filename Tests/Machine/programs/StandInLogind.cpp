// Stands in for logind where a test needs a lid: a machine in a container has none.
//
//   stand-in-logind ADDRESS STATE
//
// Owns logind's name on the bus at ADDRESS. Properties are the lines "NAME TYPE VALUE" of the file STATE, read at each
// question, with TYPE s or b; HandleLidSwitch and HandleLidSwitchExternalPower also come from drop-ins, which it reads
// at SIGHUP. Each call that asks it to do something becomes a line of STATE.calls. Runs until it is ended.

#include "Support/BusPump.h"
#include "Support/ScriptedBusService.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace tavo {
namespace {

class StandInLogind {
public:
    StandInLogind(const std::string& address, std::filesystem::path state)
        : state(std::move(state)), service(pump, address) {
        service.answer("Get", [this](sd_bus_message* call) { return replyProperty(call); });
        service.answer("Inhibit", [this](sd_bus_message* call) { return inhibit(call); });
        service.answer("Suspend", [this](sd_bus_message* call) {
            record("Suspend");
            return sd_bus_reply_method_return(call, nullptr);
        });
        sd_event_source* source = nullptr; // goes with the loop
        checked(sd_event_add_signal(
                    &pump.event(), &source, SIGHUP,
                    [](sd_event_source*, const signalfd_siginfo*, void* self) {
                        static_cast<StandInLogind*>(self)->readDropIns();
                        return 0;
                    },
                    this),
                "wait for SIGHUP");
        service.own("org.freedesktop.login1");
    }

    void serve() {
        for (;;) {
            pump.until([] { return false; });
        }
    }

private:
    void record(const std::string& line) { std::ofstream(state.string() + ".calls", std::ios::app) << line << "\n"; }

    void readDropIns() {
        dropIns.clear();
        std::set<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator("/run/systemd/logind.conf.d")) {
            files.insert(entry.path());
        }
        for (const auto& path : files) {
            std::ifstream file(path);
            for (std::string line; std::getline(file, line);) {
                if (const auto equals = line.find('='); line.starts_with("Handle") && equals != std::string::npos) {
                    dropIns[line.substr(0, equals)] = line.substr(equals + 1);
                }
            }
        }
        record("reread");
    }

    int replyProperty(sd_bus_message* call) {
        // The call has been read for its record.
        checked(sd_bus_message_rewind(call, 1), "read a call again");
        const char* interface = nullptr;
        const char* name = nullptr;
        checked(sd_bus_message_read(call, "ss", &interface, &name), "read a question");
        std::ifstream file(state);
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string property;
            std::string type;
            std::string value;
            words >> property >> type >> value;
            if (property != name) {
                continue;
            }
            if (const auto found = dropIns.find(property); found != dropIns.end()) {
                value = found->second;
            }
            return type == "b" ? sd_bus_reply_method_return(call, "v", "b", value == "true" ? 1 : 0)
                               : sd_bus_reply_method_return(call, "v", "s", value.c_str());
        }
        return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_PROPERTY, "no property %s", name);
    }

    int inhibit(sd_bus_message* call) {
        record("Inhibit " + service.calls().back().arguments);
        int ends[2];
        checked(pipe2(ends, O_CLOEXEC), "make a lock");
        const int result = sd_bus_reply_method_return(call, "h", ends[1]);
        close(ends[1]);
        return result;
    }

    std::filesystem::path state;
    BusPump pump;
    ScriptedBusService service;
    std::map<std::string, std::string> dropIns;
};

} // namespace
} // namespace tavo

int main(int count, char** values) {
    if (count != 3) {
        fmt::print(stderr, "usage: stand-in-logind ADDRESS STATE\n");
        return 64;
    }
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGHUP);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    try {
        tavo::StandInLogind(values[1], values[2]).serve();
    } catch (const std::exception& error) {
        fmt::print(stderr, "stand-in-logind: {}\n", error.what());
        return 1;
    }
}
