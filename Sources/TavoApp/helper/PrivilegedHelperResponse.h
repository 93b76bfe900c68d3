#pragma once

#include "base/Json.h"

#include <string>
#include <string_view>
#include <variant>

namespace tavo {

/// What the helper answers.
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

    /// Reads what encoded() writes. Unknown keys are ignored. @throws DecodingError
    static PrivilegedHelperResponse decode(std::string_view text);
    static PrivilegedHelperResponse fromJson(const Json& value, const std::string& path = {});
};

} // namespace tavo
