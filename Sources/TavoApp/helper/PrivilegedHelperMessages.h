#pragma once

#include "base/Json.h"
#include "helper/PrivilegedSleepControlling.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tavo {

/// The names that the application, the helper and the system's service manager know the helper by.
struct PrivilegedHelperConstants {
    PrivilegedHelperConstants() = delete;

    static constexpr std::string_view helperExecutableName = "TavoPrivilegedHelper";
    static constexpr std::string_view launchDaemonPlistName = "com.vrd.tavo.helper.plist";
    static constexpr std::string_view machServiceName = "com.vrd.tavo.helper";
    static constexpr std::string_view launchDaemonLabel = machServiceName;
};

/// A request to the helper.
struct PrivilegedHelperCommand {
    struct Ping {
        bool operator==(const Ping&) const = default;
    };

    struct SetSleepDisabled {
        PMSetScope scope = PMSetScope::all;
        bool disabled = false;

        bool operator==(const SetSleepDisabled&) const = default;
    };

    /// Asks the helper to remove itself.
    struct ResetSupport {
        bool operator==(const ResetSupport&) const = default;
    };

    std::variant<Ping, SetSleepDisabled, ResetSupport> value;

    bool operator==(const PrivilegedHelperCommand&) const = default;

    static PrivilegedHelperCommand ping() { return {Ping{}}; }
    static PrivilegedHelperCommand setSleepDisabled(PMSetScope scope, bool disabled) {
        return {SetSleepDisabled{.scope = scope, .disabled = disabled}};
    }
    static PrivilegedHelperCommand resetSupport() { return {ResetSupport{}}; }

    /// Compact JSON: an object whose one key is the case, and whose value is an object of the case's fields, as in
    /// {"setSleepDisabled":{"scope":"ac","disabled":true}}.
    std::string encoded() const;

    /// Reads the output of encoded(). Unknown keys are ignored. @throws DecodingError
    static PrivilegedHelperCommand decode(std::string_view text);
    static PrivilegedHelperCommand fromJson(const Json& value, const std::string& path = {});
};

/// The helper's answer to a command.
struct PrivilegedHelperResponse {
    struct Ok {
        bool operator==(const Ok&) const = default;
    };

    struct Pong {
        bool operator==(const Pong&) const = default;
    };

    /// The command was understood and failed. The message is for the user.
    struct Error {
        std::string message;

        bool operator==(const Error&) const = default;
    };

    std::variant<Ok, Pong, Error> value;

    bool operator==(const PrivilegedHelperResponse&) const = default;

    static PrivilegedHelperResponse ok() { return {Ok{}}; }
    static PrivilegedHelperResponse pong() { return {Pong{}}; }
    static PrivilegedHelperResponse error(std::string message) { return {Error{.message = std::move(message)}}; }

    /// Compact JSON: an object whose one key is the case, as in {"ok":{}} and {"error":{"_0":"the message"}}. Malformed
    /// UTF-8 in the message is written as U+FFFD.
    std::string encoded() const;

    /// Reads the output of encoded(). Unknown keys are ignored. @throws DecodingError
    static PrivilegedHelperResponse decode(std::string_view text);
    static PrivilegedHelperResponse fromJson(const Json& value, const std::string& path = {});
};

/// The reply to one command as a transport carries it. A part that is present counts, even when it is empty.
struct PrivilegedHelperReply {
    /// The encoded response.
    std::optional<std::string> data;

    /// Why there is no response, for the user.
    std::optional<std::string> message;

    bool operator==(const PrivilegedHelperReply&) const = default;
};

} // namespace tavo
