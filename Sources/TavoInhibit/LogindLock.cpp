#include "TavoInhibit/LogindLock.h"

#include "TavoInhibit/Wording.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <string_view>

namespace tavo {

namespace {

constexpr auto serviceName = "org.freedesktop.login1";
constexpr auto managerPath = "/org/freedesktop/login1";
constexpr auto managerInterface = "org.freedesktop.login1.Manager";

/// The parent takes 2 seconds of silence for a failure; our own words must be there before.
constexpr std::chrono::milliseconds answerBound{1500};

constexpr std::string_view advice = "; tavoctl doctor says what to do";

/// The bus knows no logind, or could not start one: the errors of D-Bus activation, and systemd's own for units.
bool meansNoLogind(const sd_bus_error& error) {
    const std::string_view name = error.name;
    return name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
           name.starts_with("org.freedesktop.DBus.Error.Spawn.") || name.starts_with("org.freedesktop.systemd1.");
}

std::string messageOf(const sd_bus_error& error) {
    return quotedMessage(error.message != nullptr && std::strlen(error.message) > 0 ? error.message : error.name);
}

bool isAccessDenied(const sd_bus_error& error) {
    return sd_bus_error_has_name(&error, SD_BUS_ERROR_ACCESS_DENIED) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED) != 0;
}

std::string sleepRefusedNotice() {
    return "sleep was refused (access denied): another session, such as the login screen, may still put the computer "
           "to "
           "sleep; run sudo tavoctl run to hold it too";
}

std::string refusalSentence(const sd_bus_error& error) {
    if (isAccessDenied(error)) {
        return "logind refused the lock (access denied): without polkit only root may hold locks, so run "
               "sudo tavoctl run";
    }
    if (meansNoLogind(error)) {
        return "no logind is running (" + messageOf(error) + "), and without it nothing can keep this computer awake" +
               std::string(advice);
    }
    return "logind refused the lock (" + messageOf(error) + ")" + std::string(advice);
}

std::string unreachableSystemBusSentence(int error) {
    return "the system bus cannot be reached (" + quotedError(error) +
           "), and without it and logind nothing can keep this computer awake" + std::string(advice);
}

std::string lostSystemBusSentence() {
    return "the system bus ended the connection before logind had answered" + std::string(advice);
}

std::string silentLogindSentence() {
    return "logind gave no answer in time, so the computer is not kept awake" + std::string(advice);
}

} // namespace

LogindLock::LogindLock(sd_event& event, bool sleep, std::function<void(const Outcome&)> answered)
    : event(event), answered(std::move(answered)), asksForSleep(sleep) {
    checked(startTimer(event, deadline, answerBound, onDeadline, this), "set the deadline for logind");
    // From the event loop even when there is no bus at all, so that the caller is always ready for the answer.
    checked(sd_event_add_defer(&event, Receive(start), onStart, this), "schedule the call to logind");
}

void LogindLock::ask() {
    try {
        if (!bus) {
            bus = openSystemBus(event);
        }
        checked(sd_bus_call_method_async(bus.get(), Receive(pendingReply), serviceName, managerPath, managerInterface,
                                         "Inhibit", onReply, this, "ssss", asksForSleep ? "idle:sleep" : "idle",
                                         inhibitorName, "keeping the computer awake as the user asked", "block"),
                "ask logind");
    } catch (const std::system_error& error) {
        finish({}, unreachableSystemBusSentence(error.code().value()));
    }
}

int LogindLock::onStart(sd_event_source*, void* self) noexcept {
    static_cast<LogindLock*>(self)->ask();
    return 0;
}

int LogindLock::onReply(sd_bus_message* reply, void* self, sd_bus_error*) noexcept {
    auto& asker = *static_cast<LogindLock*>(self);
    if (sd_bus_is_open(asker.bus.get()) <= 0) {
        asker.finish({}, lostSystemBusSentence());
        return 0;
    }
    const auto* error = sd_bus_message_get_error(reply);
    if (error == nullptr) {
        asker.takeLock(*reply);
        return 0;
    }
    if (asker.asksForSleep && isAccessDenied(*error)) {
        asker.asksForSleep = false;
        asker.sleepWasRefused = true;
        asker.ask();
        return 0;
    }
    asker.finish({}, refusalSentence(*error));
    return 0;
}

void LogindLock::takeLock(sd_bus_message& reply) {
    auto descriptor = -1;
    auto result = sd_bus_message_read(&reply, "h", &descriptor);
    if (result >= 0) {
        // The message keeps its own.
        lock = FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
        result = lock ? 0 : -errno;
    }
    if (result < 0) {
        sd_bus_error error{};
        sd_bus_error_set_errno(&error, -result);
        finish({}, refusalSentence(error));
        sd_bus_error_free(&error);
        return;
    }
    finish(asksForSleep ? "idle:sleep" : "idle", sleepWasRefused ? sleepRefusedNotice() : std::string{});
}

int LogindLock::onDeadline(sd_event_source*, std::uint64_t, void* self) noexcept {
    static_cast<LogindLock*>(self)->finish({}, silentLogindSentence());
    return 0;
}

void LogindLock::finish(std::string held, std::string text) {
    start.reset();
    deadline.reset();
    pendingReply.reset();
    bus.reset();
    answered({std::move(held), std::move(text)});
}

} // namespace tavo
