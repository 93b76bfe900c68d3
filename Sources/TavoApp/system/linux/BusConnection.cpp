#include "system/linux/BusConnection.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

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

/// While this lives, no signal is handled on this thread. One that ends the program would make sd_bus_call() fail, whose
/// request cannot be sent again: the first one may have been carried out.
class HeldBackSignals {
public:
    HeldBackSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before);
    }
    HeldBackSignals(const HeldBackSignals&) = delete;
    HeldBackSignals& operator=(const HeldBackSignals&) = delete;
    ~HeldBackSignals() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
    sigset_t before{};
};

bool hasNoOwner(int result) {
    return result == -ENXIO || result == -ESRCH;
}

} // namespace

void BusMessageDeleter::operator()(sd_bus_message* message) const {
    sd_bus_message_unref(message);
}

void checkBusResult(int result, const std::string& attempt) {
    if (result < 0) {
        throw failure(attempt, result);
    }
}

void BusConnection::Closer::operator()(sd_bus* bus) const {
    sd_bus_flush_close_unref(bus);
}

BusConnection BusConnection::bounded(sd_bus* bus, std::chrono::microseconds callBound) {
    BusConnection connection(bus);
    connection.limitCalls(callBound);
    return connection;
}

void BusConnection::limitCalls(std::chrono::microseconds newBound) {
    callBound = newBound;
    // For the calls that sd-bus makes by itself.
    checkBusResult(sd_bus_set_method_call_timeout(bus.get(), static_cast<std::uint64_t>(callBound.count())),
                   "could not bound the calls on the message bus");
}

bool BusConnection::isOpen() const {
    return sd_bus_is_open(bus.get()) > 0;
}

BusConnection BusConnection::openSystem(std::chrono::milliseconds callBound) {
    sd_bus* bus = nullptr;
    checkBusResult(sd_bus_open_system(&bus), "there is no system message bus");
    return bounded(bus, callBound);
}

BusConnection BusConnection::openSession() {
    sd_bus* bus = nullptr;
    checkBusResult(sd_bus_open_user(&bus), "there is no session message bus");
    return bounded(bus, usualBound);
}

bool BusConnection::hasOwner(const std::string& name) const {
    const int result = sd_bus_get_name_creds(bus.get(), name.c_str(), 0, nullptr);
    if (hasNoOwner(result)) {
        return false;
    }
    checkBusResult(result, "could not ask the message bus for " + name);
    return true;
}

std::optional<pid_t> BusConnection::processOf(const std::string& name) const {
    const auto attempt = "could not ask the message bus for " + name;
    sd_bus_creds* credentials = nullptr;
    int result = sd_bus_get_name_creds(bus.get(), name.c_str(), SD_BUS_CREDS_PID, &credentials);
    if (hasNoOwner(result)) {
        return std::nullopt;
    }
    checkBusResult(result, attempt);
    pid_t pid = 0;
    result = sd_bus_creds_get_pid(credentials, &pid);
    sd_bus_creds_unref(credentials);
    checkBusResult(result, attempt);
    return pid;
}

BusMessageHandle BusConnection::newCall(const BusTarget& target, const char* method) const {
    sd_bus_message* request = nullptr;
    checkBusResult(
        sd_bus_message_new_method_call(bus.get(), &request, target.service, target.path, target.interface, method),
        fmt::format("could not ask {}", target.service));
    return BusMessageHandle(request);
}

BusMessageHandle BusConnection::call(BusMessageHandle request, const std::string& attempt) const {
    checkBusResult(sd_bus_message_set_auto_start(request.get(), 0), attempt);
    ErrorReply reply;
    sd_bus_message* answer = nullptr;
    const HeldBackSignals heldBack;
    const int result =
        sd_bus_call(bus.get(), request.get(), static_cast<std::uint64_t>(callBound.count()), &reply.error, &answer);
    if (result < 0) {
        throw failure(attempt, result, &reply.error);
    }
    return BusMessageHandle(answer);
}

BusMessageHandle BusConnection::property(const BusTarget& target, const char* name, const char* type) const {
    const auto attempt = fmt::format("could not read {} of {}", name, target.service);
    auto request = newCall({target.service, target.path, "org.freedesktop.DBus.Properties"}, "Get");
    checkBusResult(sd_bus_message_append(request.get(), "ss", target.interface, name), attempt);
    auto answer = call(std::move(request), attempt);
    checkBusResult(sd_bus_message_enter_container(answer.get(), 'v', type), attempt);
    return answer;
}

std::string BusConnection::textProperty(const BusTarget& target, const char* name) const {
    const auto answer = property(target, name, "s");
    const char* text = nullptr;
    checkBusResult(sd_bus_message_read(answer.get(), "s", &text), fmt::format("could not read {}", name));
    return text;
}

bool BusConnection::flagProperty(const BusTarget& target, const char* name) const {
    const auto answer = property(target, name, "b");
    int flag = 0;
    checkBusResult(sd_bus_message_read(answer.get(), "b", &flag), fmt::format("could not read {}", name));
    return flag != 0;
}

} // namespace tavo
