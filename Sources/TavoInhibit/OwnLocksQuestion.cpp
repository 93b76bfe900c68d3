#include "TavoInhibit/OwnLocksQuestion.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace tavo {

namespace {

constexpr int heededSince = 257;
constexpr std::chrono::microseconds answerBound = std::chrono::seconds{5};

/// As logind knows it. A program that the user's service manager started belongs to no session, so the user is asked
/// for.
bool hasGraphicalSession(uid_t user) {
    char* session = nullptr;
    if (sd_uid_get_display(user, &session) < 0) {
        return false;
    }
    char* type = nullptr;
    const auto result = sd_session_get_type(session, &type);
    const std::string_view name = result >= 0 ? type : "";
    const auto isGraphical = name == "x11" || name == "wayland" || name == "mir";
    std::free(type);    // NOLINT(cppcoreguidelines-no-malloc): sd-login gives it from malloc
    std::free(session); // NOLINT(cppcoreguidelines-no-malloc): likewise
    return isGraphical;
}

} // namespace

bool heedsOwnLocks(std::string_view systemdVersion) {
    int number = 0;
    std::from_chars(systemdVersion.data(), systemdVersion.data() + systemdVersion.size(), number);
    return number >= heededSince;
}

OwnLocksQuestion::OwnLocksQuestion(sd_event& event, std::function<void(bool areHeeded)> answered)
    : answered(std::move(answered)) {
    try {
        ask(event);
    } catch (const std::system_error&) {
        this->answered(false);
    }
}

void OwnLocksQuestion::ask(sd_event& event) {
    constexpr auto attempt = "ask for systemd's version";
    bus = openSystemBus(event);
    BusMessage call;
    checked(sd_bus_message_new_method_call(bus.get(), Receive(call), "org.freedesktop.systemd1",
                                           "/org/freedesktop/systemd1", "org.freedesktop.DBus.Properties", "Get"),
            attempt);
    checked(sd_bus_message_append(call.get(), "ss", "org.freedesktop.systemd1.Manager", "Version"), attempt);
    checked(sd_bus_message_set_auto_start(call.get(), 0), attempt);
    checked(sd_bus_call_async(bus.get(), Receive(pendingReply), call.get(), onReply, this,
                              static_cast<std::uint64_t>(answerBound.count())),
            attempt);
}

int OwnLocksQuestion::onReply(sd_bus_message* reply, void* self, sd_bus_error*) noexcept {
    auto& question = *static_cast<OwnLocksQuestion*>(self);
    const char* version = nullptr;
    const auto isRead =
        sd_bus_message_is_method_error(reply, nullptr) == 0 && sd_bus_message_read(reply, "v", "s", &version) > 0;
    const auto areHeeded = isRead && heedsOwnLocks(version);
    // Nothing else is to come over this connection.
    question.pendingReply.reset();
    question.bus.reset();
    question.answered(areHeeded);
    return 0;
}

bool isOrdinaryUserOfDesktop() {
    // The environment knows a desktop that was started from a text login, which logind does not know to be graphical.
    return geteuid() != 0 && (namesLocalDisplay(std::getenv("WAYLAND_DISPLAY"), std::getenv("DISPLAY")) ||
                              hasGraphicalSession(geteuid()));
}

bool namesLocalDisplay(const char* wayland, const char* x11) {
    if (wayland != nullptr && *wayland != '\0') {
        return true;
    }
    // X(7): without a host, or with the host "unix", it is this computer's; ssh's forwarding says "localhost:10".
    const std::string_view display = x11 == nullptr ? "" : x11;
    return display.starts_with(":") || display.starts_with("unix:");
}

} // namespace tavo
