#pragma once

#include "base/Json.h"
#include "helper/PMSetScope.h"

#include <string>
#include <string_view>
#include <variant>

namespace tavo {

/// What the helper is asked to do.
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

    /// Reads what encoded() writes. Unknown keys are ignored. @throws DecodingError
    static PrivilegedHelperCommand decode(std::string_view text);
    static PrivilegedHelperCommand fromJson(const Json& value, const std::string& path = {});
};

} // namespace tavo
