#include "system/linux/LogindClient.h"

#include "system/linux/ProcessDescriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <string_view>
#include <utility>

namespace tavo {

namespace {

constexpr BusTarget logindManager{"org.freedesktop.login1", "/org/freedesktop/login1",
                                  "org.freedesktop.login1.Manager"};

/// Whether a list such as "sleep:idle" names something that keeps the machine from sleeping.
bool coversSleep(std::string_view what) {
    for (std::size_t start = 0; start <= what.size();) {
        const auto end = std::min(what.find(':', start), what.size());
        const auto word = what.substr(start, end - start);
        if (word == "sleep" || word == "idle") {
            return true;
        }
        start = end + 1;
    }
    return false;
}

} // namespace

std::vector<HeldAssertion> LogindClient::blockingLocks() const {
    const std::string attempt = "could not list logind's locks";
    const auto answer = bus.call(bus.newCall(logindManager, "ListInhibitors"), attempt);
    checkBusResult(sd_bus_message_enter_container(answer.get(), 'a', "(ssssuu)"), attempt);
    std::vector<HeldAssertion> locks;
    for (;;) {
        const char* what = nullptr;
        const char* who = nullptr;
        const char* why = nullptr;
        const char* mode = nullptr;
        std::uint32_t uid = 0;
        std::uint32_t pid = 0;
        const int result = sd_bus_message_read(answer.get(), "(ssssuu)", &what, &who, &why, &mode, &uid, &pid);
        checkBusResult(result, attempt);
        if (result == 0) {
            return locks;
        }
        if (std::string_view(mode) == "block" && coversSleep(what)) {
            locks.push_back({.who = who, .what = what, .pid = static_cast<std::int32_t>(pid), .uid = uid});
        }
    }
}

FileDescriptor LogindClient::takeLock(const std::string& what, const std::string& why, const std::string& who) const {
    const auto attempt = fmt::format("logind refused the lock \"{}\"", what);
    auto request = bus.newCall(logindManager, "Inhibit");
    checkBusResult(sd_bus_message_append(request.get(), "ssss", what.c_str(), who.c_str(), why.c_str(), "block"),
                   attempt);
    const auto answer = bus.call(std::move(request), attempt);
    int descriptor = -1;
    checkBusResult(sd_bus_message_read(answer.get(), "h", &descriptor), attempt);
    // The message closes its descriptor with itself.
    const int lock = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    checkBusResult(lock < 0 ? -errno : 0, attempt);
    return FileDescriptor(lock);
}

std::string LogindClient::text(const char* property) const {
    return bus.textProperty(logindManager, property);
}

bool LogindClient::flag(const char* property) const {
    return bus.flagProperty(logindManager, property);
}

bool LogindClient::lingers(uid_t user) const {
    const std::string attempt = "logind does not know the user";
    auto request = bus.newCall(logindManager, "GetUser");
    checkBusResult(sd_bus_message_append(request.get(), "u", static_cast<std::uint32_t>(user)), attempt);
    const auto answer = bus.call(std::move(request), attempt);
    const char* path = nullptr;
    checkBusResult(sd_bus_message_read(answer.get(), "o", &path), attempt);
    return bus.flagProperty({logindManager.service, path, "org.freedesktop.login1.User"}, "Linger");
}

void LogindClient::rereadConfiguration() const {
    const auto pid = bus.processOf(logindManager.service);
    if (!pid) {
        return;
    }
    const auto process = openProcess(*pid);
    // Between the bus's answer and the descriptor the number may have gone to a process that knows nothing of this
    // signal.
    if (process && bus.processOf(logindManager.service) == pid) {
        signalProcess(process, SIGHUP);
    }
}

void LogindClient::requestSleep(const char* method) const {
    const auto attempt = fmt::format("logind refused \"{}\"", method);
    auto request = bus.newCall(logindManager, method);
    constexpr int mayAskUser = 0;
    checkBusResult(sd_bus_message_append(request.get(), "b", mayAskUser), attempt);
    bus.call(std::move(request), attempt);
}

std::optional<std::string> LogindClient::systemdVersion() const {
    constexpr BusTarget serviceManager{"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                       "org.freedesktop.systemd1.Manager"};
    try {
        return bus.textProperty(serviceManager, "Version");
    } catch (const BusError&) {
        return std::nullopt;
    }
}

} // namespace tavo
