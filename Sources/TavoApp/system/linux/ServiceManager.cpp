#include "system/linux/ServiceManager.h"

#include <systemd/sd-bus.h>

#include <cstdint>

namespace tavo {

namespace {

constexpr BusTarget manager{"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                            "org.freedesktop.systemd1.Manager"};

} // namespace

std::optional<std::string> ServiceManager::jobTypeOf(const std::string& unit) const {
    const std::string attempt = "could not list the service manager's jobs";
    const auto answer = bus.call(bus.newCall(manager, "ListJobs"), attempt);
    checkBusResult(sd_bus_message_enter_container(answer.get(), 'a', "(usssoo)"), attempt);
    while (true) {
        std::uint32_t number = 0;
        const char* name = nullptr;
        const char* type = nullptr;
        const char* state = nullptr;
        const char* jobPath = nullptr;
        const char* unitPath = nullptr;
        const int result =
            sd_bus_message_read(answer.get(), "(usssoo)", &number, &name, &type, &state, &jobPath, &unitPath);
        checkBusResult(result, attempt);
        if (result == 0) {
            return std::nullopt;
        }
        if (name == unit) {
            return type;
        }
    }
}

} // namespace tavo
