#pragma once

#include "TavoInhibit/BusHandles.h"
#include "TavoInhibit/Report.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tavo {

/// A service's answer to a request, which it needs to end it.
struct InhibitToken {
    std::uint32_t cookie = 0;
    std::string requestPath;
};

/// One of the desktop's interfaces for keeping the computer awake, as data: whom to call, how, and how to end it.
struct DesktopService {
    AssertionService service;
    /// The well-known name; its owner at the time is what is called.
    const char* name;
    const char* path;
    const char* interface;
    /// Whether its reply only takes the request, and a signal says later whether it is honoured (the portal's
    /// Response).
    bool confirmsBySignal;
    /// Asked only while none of the others holds.
    bool isLastResort;
    /// The longest wait for an answer; absent where there is no hurry.
    std::optional<std::chrono::microseconds> answerBound;
    /// How the user's notices call it.
    const char* noun;

    int (*appendRequest)(sd_bus_message* call);
    int (*readToken)(sd_bus_message* reply, InhibitToken& token);
    /// Makes the call that ends the request.
    int (*makeRelease)(sd_bus& bus, const char* owner, const DesktopService& service, const InhibitToken& token,
                       BusMessage& call);
};

/// Every service that is asked, those that answer for what they hold first.
///
/// Where GNOME's and the power manager's interfaces are both there, both are asked: which of them decides about suspend
/// differs between desktops, and to hold with the other as well costs nothing.
const std::array<DesktopService, 3>& desktopServices();

/// The sentence for the user when `service` refused.
/// @param reason  its own words, or the system's, fit to stand in brackets.
std::string refusedByDesktopNotice(const DesktopService& service, const std::string& reason);

/// The sentence for the user when logind's lock does not hold the desktop back and none of its services does either.
std::string nobodyAcceptedNotice();

} // namespace tavo
