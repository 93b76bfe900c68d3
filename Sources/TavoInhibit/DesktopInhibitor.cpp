#include "TavoInhibit/DesktopInhibitor.h"

#include "TavoInhibit/Wording.h"

#include <algorithm>
#include <cstring>

namespace tavo {

namespace {

/// None of the codes of org.freedesktop.portal.Request: 0 accepted, 1 cancelled, 2 ended in another way.
constexpr auto unreadableResponse = -1;

/// The name has an owner whose object is not there, as of a service that has only just started.
bool isNotThereYet(const sd_bus_error& error) {
    const auto names = {SD_BUS_ERROR_UNKNOWN_OBJECT, SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_INTERFACE};
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return sd_bus_error_has_name(&error, name) != 0; });
}

} // namespace

DesktopInhibitor::DesktopInhibitor(sd_bus& bus, const DesktopService& service, Report& report,
                                   const DesktopPatience& patience, std::function<void()> changed)
    : bus(bus), service(service), report(report), patience(patience), changed(std::move(changed)) {
    follow();
}

void DesktopInhibitor::follow() {
    // Only this name's changes: the bus announces every client that comes and goes, and each would wake us.
    const auto rule = std::string("type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                                  "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") +
                      service.name + "'";
    checked(sd_bus_add_match_async(&bus, Receive(ownerChanges), rule.c_str(), onOwnerChanged, nullptr, this),
            "watch a name on the session bus");
    if (service.confirmsBySignal) {
        // Before any request: the answer to one may come before the reply that names its path.
        checked(sd_bus_match_signal_async(&bus, Receive(responses), service.name, nullptr,
                                          "org.freedesktop.portal.Request", "Response", onResponse, nullptr, this),
                "watch for answers on the session bus");
    }
    // After the match, so that no owner comes or goes unseen in between.
    checked(sd_bus_call_method_async(&bus, Receive(ownerReply), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "GetNameOwner", onOwner, this, "s", service.name),
            "ask who owns a name on the session bus");
}

int DesktopInhibitor::onOwner(sd_bus_message* reply, void* self, sd_bus_error*) noexcept {
    const char* owner = nullptr;
    // An error says that there is no owner, which is what was assumed.
    if (sd_bus_message_is_method_error(reply, nullptr) == 0 && sd_bus_message_read(reply, "s", &owner) > 0) {
        static_cast<DesktopInhibitor*>(self)->ownerIs(owner);
    }
    return 0;
}

int DesktopInhibitor::onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error*) noexcept {
    const char* name = nullptr;
    const char* oldOwner = nullptr;
    const char* newOwner = nullptr;
    auto& inhibitor = *static_cast<DesktopInhibitor*>(self);
    if (sd_bus_message_read(signal, "sss", &name, &oldOwner, &newOwner) > 0 &&
        std::strcmp(name, inhibitor.service.name) == 0) {
        inhibitor.ownerIs(newOwner);
    }
    return 0;
}

void DesktopInhibitor::ownerIs(const char* newOwner) {
    if (owner == newOwner) {
        return;
    }
    // A late answer of the old owner means nothing.
    pendingAnswer.reset();
    retry.reset();
    failedAttempts = 0;
    if (current == State::holding || current == State::unconfirmed) {
        post(AssertionReportState::lost);
    }
    owner = newOwner;
    current = owner.empty() ? State::absent : State::present;
    changed();
}

void DesktopInhibitor::ask() {
    wanted = true;
    if (current != State::present) {
        return;
    }
    current = State::pending;
    earlyResponses.clear();
    try {
        sendRequest();
    } catch (const std::system_error& error) {
        refuse(quotedError(error.code().value()));
    }
}

void DesktopInhibitor::sendRequest() {
    constexpr auto attempt = "ask a desktop service";
    BusMessage call;
    checked(
        sd_bus_message_new_method_call(&bus, Receive(call), owner.c_str(), service.path, service.interface, "Inhibit"),
        attempt);
    checked(service.appendRequest(call.get()), attempt);
    // A unique name starts nobody as it is; the flag makes sure that no service acts on our behalf either.
    checked(sd_bus_message_set_auto_start(call.get(), 0), attempt);
    const auto bound = service.answerBound ? static_cast<std::uint64_t>(service.answerBound->count()) : UINT64_MAX;
    checked(sd_bus_call_async(&bus, Receive(pendingAnswer), call.get(), onAnswer, this, bound), attempt);
}

int DesktopInhibitor::onAnswer(sd_bus_message* reply, void* self, sd_bus_error*) noexcept {
    auto& inhibitor = *static_cast<DesktopInhibitor*>(self);
    // A connection that ends answers every open call with an error of its own making; busEnded() follows.
    if (sd_bus_is_open(&inhibitor.bus) > 0) {
        inhibitor.answer(*reply);
    }
    return 0;
}

void DesktopInhibitor::answer(sd_bus_message& reply) {
    const auto* error = sd_bus_message_get_error(&reply);
    if (error != nullptr && isNotThereYet(*error) && askLater()) {
        return;
    }
    if (error != nullptr) {
        const auto hasMessage = error->message != nullptr && std::strlen(error->message) > 0;
        refuse(quotedMessage(hasMessage ? error->message : error->name));
    } else if (service.readToken(&reply, token) <= 0) {
        refuse("its answer is not understood");
    } else if (!wanted) {
        sendRelease();
        current = State::present;
    } else {
        accept();
    }
    changed();
}

bool DesktopInhibitor::askLater() {
    if (!wanted) {
        current = State::present;
        return true;
    }
    if (failedAttempts >= patience.retries) {
        return false;
    }
    const auto pause = patience.pauseBefore(failedAttempts);
    ++failedAttempts;
    return startTimer(*sd_bus_get_event(&bus), retry, pause, onRetry, this) >= 0;
}

int DesktopInhibitor::onRetry(sd_event_source*, std::uint64_t, void* self) noexcept {
    auto& inhibitor = *static_cast<DesktopInhibitor*>(self);
    inhibitor.retry.reset();
    inhibitor.current = State::present;
    inhibitor.ask();
    return 0;
}

void DesktopInhibitor::accept() {
    if (!service.confirmsBySignal) {
        current = State::holding;
        post(AssertionReportState::held);
        return;
    }
    current = State::unconfirmed;
    post(AssertionReportState::asked);
    const auto early = earlyResponses.find(token.requestPath);
    if (early != earlyResponses.end()) {
        confirm(early->second);
    }
}

int DesktopInhibitor::onResponse(sd_bus_message* signal, void* self, sd_bus_error*) noexcept {
    auto& inhibitor = *static_cast<DesktopInhibitor*>(self);
    const auto* sender = sd_bus_message_get_sender(signal);
    const auto* path = sd_bus_message_get_path(signal);
    if (sender == nullptr || path == nullptr || inhibitor.owner != sender) {
        return 0;
    }
    std::uint32_t code = 0;
    const auto isReadable = sd_bus_message_read(signal, "u", &code) > 0 && code <= 2;
    const auto response = isReadable ? static_cast<int>(code) : unreadableResponse;
    if (inhibitor.current == State::pending) {
        inhibitor.earlyResponses[path] = response;
    } else if (inhibitor.current == State::unconfirmed && inhibitor.token.requestPath == path) {
        inhibitor.confirm(response);
        inhibitor.changed();
    }
    return 0;
}

void DesktopInhibitor::confirm(int response) {
    if (response == 0) {
        current = State::holding;
        post(AssertionReportState::held);
    } else if (response == unreadableResponse) {
        refuse("its answer is not understood");
    } else {
        refuse("response " + std::to_string(response));
    }
}

void DesktopInhibitor::refuse(const std::string& reason) {
    current = State::refused;
    post(AssertionReportState::refused, refusedByDesktopNotice(service, reason));
}

void DesktopInhibitor::release() {
    wanted = false;
    if (current == State::holding || current == State::unconfirmed) {
        sendRelease();
        current = State::present;
    } else if (retry) {
        retry.reset();
        current = State::present;
    }
}

void DesktopInhibitor::sendRelease() {
    BusMessage call;
    // Nothing to do about a failure: the request ends with the connection or with its owner at the latest.
    if (service.makeRelease(bus, owner.c_str(), service, token, call) >= 0 &&
        sd_bus_message_set_expect_reply(call.get(), 0) >= 0 && sd_bus_message_set_auto_start(call.get(), 0) >= 0) {
        sd_bus_send(&bus, call.get(), nullptr);
    }
}

void DesktopInhibitor::busEnded() {
    if (current == State::holding || current == State::unconfirmed) {
        post(AssertionReportState::lost);
    }
    retry.reset();
    current = State::absent;
}

void DesktopInhibitor::post(AssertionReportState state, std::string notice) {
    report.post({service.service, state, "suspend", std::move(notice)});
}

} // namespace tavo
