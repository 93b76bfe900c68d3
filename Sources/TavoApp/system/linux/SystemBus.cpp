#include "system/linux/SystemBus.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <system_error>

namespace tavo {

namespace {

constexpr std::uint64_t callBoundMicroseconds = 2000000;

constexpr const char* logindName = "org.freedesktop.login1";
constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindInterface = "org.freedesktop.login1.Manager";

struct MessageDeleter {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;

/// An error that sd-bus fills in.
struct ErrorReply {
    ErrorReply() = default;
    ErrorReply(const ErrorReply&) = delete;
    ErrorReply& operator=(const ErrorReply&) = delete;
    ~ErrorReply() { sd_bus_error_free(&error); }

    sd_bus_error error = SD_BUS_ERROR_NULL;
};

BusError failure(const std::string& what, int result, const sd_bus_error* error = nullptr) {
    std::string reason =
        error != nullptr && error->message != nullptr ? error->message : std::generic_category().message(-result);
    // It stands inside a sentence here.
    while (reason.ends_with('.')) {
        reason.pop_back();
    }
    if (reason.size() > 1 && std::isupper(static_cast<unsigned char>(reason[1])) == 0) {
        reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    }
    return {error != nullptr && error->name != nullptr ? error->name : "", fmt::format("{}: {}", what, reason)};
}

void check(int result, const std::string& what) {
    if (result < 0) {
        throw failure(what, result);
    }
}

/// Sends a call and waits for its answer. Nothing is started to answer it.
Message call(sd_bus* bus, Message request, const std::string& what) {
    check(sd_bus_message_set_auto_start(request.get(), 0), what);
    ErrorReply reply;
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(bus, request.get(), callBoundMicroseconds, &reply.error, &answer);
    if (result < 0) {
        throw failure(what, result, &reply.error);
    }
    return Message(answer);
}

Message logindCall(sd_bus* bus, const char* method) {
    sd_bus_message* request = nullptr;
    check(sd_bus_message_new_method_call(bus, &request, logindName, logindPath, logindInterface, method),
          "could not ask logind");
    return Message(request);
}

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

void BusConnection::Closer::operator()(sd_bus* bus) const {
    sd_bus_flush_close_unref(bus);
}

BusConnection BusConnection::bounded(sd_bus* bus) {
    BusConnection connection(bus);
    // For the calls that sd-bus makes by itself.
    check(sd_bus_set_method_call_timeout(bus, callBoundMicroseconds), "could not bound the calls on the message bus");
    return connection;
}

BusConnection BusConnection::openSystem() {
    sd_bus* bus = nullptr;
    check(sd_bus_open_system(&bus), "there is no system message bus");
    return bounded(bus);
}

BusConnection BusConnection::openSession() {
    sd_bus* bus = nullptr;
    check(sd_bus_open_user(&bus), "there is no session message bus");
    return bounded(bus);
}

bool BusConnection::hasOwner(const std::string& name) const {
    const int result = sd_bus_get_name_creds(bus.get(), name.c_str(), 0, nullptr);
    if (result == -ENXIO || result == -ESRCH) {
        return false;
    }
    check(result, "could not ask the message bus for " + name);
    return true;
}

std::vector<HeldAssertion> LogindClient::blockingLocks() const {
    const std::string attempt = "could not list logind's locks";
    const auto answer = call(bus.get(), logindCall(bus.get(), "ListInhibitors"), attempt);
    check(sd_bus_message_enter_container(answer.get(), 'a', "(ssssuu)"), attempt);
    std::vector<HeldAssertion> locks;
    for (;;) {
        const char* what = nullptr;
        const char* who = nullptr;
        const char* why = nullptr;
        const char* mode = nullptr;
        std::uint32_t uid = 0;
        std::uint32_t pid = 0;
        const int result = sd_bus_message_read(answer.get(), "(ssssuu)", &what, &who, &why, &mode, &uid, &pid);
        check(result, attempt);
        if (result == 0) {
            return locks;
        }
        if (std::string_view(mode) == "block" && coversSleep(what)) {
            locks.push_back({.who = who, .what = what, .pid = static_cast<std::int32_t>(pid)});
        }
    }
}

FileDescriptor LogindClient::takeLock(const std::string& what, const std::string& why) const {
    const auto attempt = fmt::format("logind refused the lock \"{}\"", what);
    auto request = logindCall(bus.get(), "Inhibit");
    check(sd_bus_message_append(request.get(), "ssss", what.c_str(), "tavo", why.c_str(), "block"), attempt);
    const auto answer = call(bus.get(), std::move(request), attempt);
    int descriptor = -1;
    check(sd_bus_message_read(answer.get(), "h", &descriptor), attempt);
    // The message closes its descriptor with itself.
    const int lock = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    check(lock < 0 ? -errno : 0, attempt);
    return FileDescriptor(lock);
}

std::optional<std::string> LogindClient::systemdVersion() const {
    ErrorReply reply;
    char* version = nullptr;
    if (!bus.hasOwner("org.freedesktop.systemd1") ||
        sd_bus_get_property_string(bus.get(), "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                   "org.freedesktop.systemd1.Manager", "Version", &reply.error, &version) < 0) {
        return std::nullopt;
    }
    std::string text(version);
    std::free(version); // NOLINT(cppcoreguidelines-no-malloc): sd-bus gives it from malloc
    return text;
}

} // namespace tavo
