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
std::string_view pmsetFlag(PMSetScope scope);

} // namespace tavo
