#pragma once

#include "base/RawValues.h"

#include <string_view>

namespace tavo {

/// The power sources for which a sleep setting is changed.
enum class PMSetScope { all, ac, battery };

template <>
struct RawValues<PMSetScope> {
    static constexpr RawValueTable<PMSetScope, 3> table{{
        {PMSetScope::all, "all"},
        {PMSetScope::ac, "ac"},
        {PMSetScope::battery, "battery"},
    }};
};

/// The option that limits a setting to the scope, pmset(1): "-a", "-c" or "-b".
constexpr std::string_view pmsetFlag(PMSetScope scope) {
    switch (scope) {
    case PMSetScope::all:
        return "-a";
    case PMSetScope::ac:
        return "-c";
    case PMSetScope::battery:
        return "-b";
    }
    return {};
}

/// Begins and ends overrides of system sleep, which only root may do.
struct PrivilegedSleepControlling {
    virtual ~PrivilegedSleepControlling() = default;

    /// Whether there is a way to do it at all.
    virtual bool isAvailable() const = 0;

    /// May block for a round trip to another process. @throws WakeControlError and errors of the transport.
    virtual void setSleepDisabled(PMSetScope scope, bool disabled) = 0;
};

} // namespace tavo
