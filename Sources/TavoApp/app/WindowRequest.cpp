#include "app/WindowRequest.h"

#include "base/JsonCoding.h"

#include <algorithm>
#include <cstdlib>
#include <exception>

namespace tavo {

namespace {

constexpr const char* actionKey = "action";
constexpr const char* tokenKey = "activationToken";
constexpr const char* startupKey = "startupID";

/// A quarter of a message: both values fit, even if every character has to be escaped.
constexpr std::size_t maxValueLength = WindowRequest::maxLength / 4 - 16;

bool isUsable(std::string_view value) {
    return value.size() <= maxValueLength &&
           std::all_of(value.begin(), value.end(), [](char character) { return character >= ' ' && character <= '~'; });
}

std::string usableVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && isUsable(value) ? value : "";
}

} // namespace

WindowRequest WindowRequest::fromEnvironment() {
    return {.activationToken = usableVariable("XDG_ACTIVATION_TOKEN"),
            .startupID = usableVariable("DESKTOP_STARTUP_ID")};
}

std::string WindowRequest::encoded() const {
    return Json{{actionKey, rawValue(action)}, {tokenKey, activationToken}, {startupKey, startupID}}.dump();
}

std::optional<WindowRequest> WindowRequest::decoded(std::string_view message) {
    if (message.size() > maxLength) {
        return std::nullopt;
    }
    try {
        const auto json = parseJson(message);
        const auto action = json.value(actionKey, std::string());
        WindowRequest request{.action = fromRawValue<RequestedAction>(action).value_or(RequestedAction::showWindow),
                              .activationToken = json.at(tokenKey).get<std::string>(),
                              .startupID = json.at(startupKey).get<std::string>()};
        if (isUsable(request.activationToken) && isUsable(request.startupID)) {
            return request;
        }
    } catch (const std::exception&) {
        // Not one of Tavo's messages; there is nothing for the user to do about it.
    }
    return std::nullopt;
}

} // namespace tavo
