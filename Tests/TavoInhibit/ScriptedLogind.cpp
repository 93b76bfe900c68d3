#include "TavoInhibit/ScriptedLogind.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace tavo {

ScriptedLogind::ScriptedLogind(BusPump& pump, const std::string& systemBusAddress) : service(pump, systemBusAddress) {
    service.answer("Inhibit", [this](sd_bus_message* call) { return inhibit(call); });
    service.own("org.freedesktop.login1");
}

ScriptedLogind::~ScriptedLogind() {
    for (const auto lock : locks) {
        ::close(lock);
    }
}

void ScriptedLogind::refuse(const std::string& word, const std::string& errorName, const std::string& message) {
    refusals.push_back({word, errorName, message});
}

std::size_t ScriptedLogind::heldLocks() {
    return static_cast<std::size_t>(std::count_if(locks.begin(), locks.end(), [](int lock) {
        pollfd end{lock, POLLIN, 0};
        ::poll(&end, 1, 0);
        return (end.revents & POLLHUP) == 0;
    }));
}

int ScriptedLogind::inhibit(sd_bus_message* call) {
    checked(sd_bus_message_rewind(call, 1), "read the call again");
    const char* what = nullptr;
    checked(sd_bus_message_read(call, "s", &what), "read what is to be held");
    for (const auto& refusal : refusals) {
        if (std::string(what).find(refusal.word) != std::string::npos) {
            return sd_bus_reply_method_errorf(call, refusal.errorName.c_str(), "%s", refusal.message.c_str());
        }
    }
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return -errno;
    }
    locks.push_back(ends[0]);
    const auto result = sd_bus_reply_method_return(call, "h", ends[1]);
    // The reply has a copy.
    ::close(ends[1]);
    return result;
}

} // namespace tavo
