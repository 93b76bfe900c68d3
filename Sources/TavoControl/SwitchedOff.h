#pragma once

#include <string_view>

namespace tavo {

/// Said wherever a user may expect something to be kept awake while the master switch is off.
constexpr std::string_view switchedOffNotice =
    "keeping awake is switched off (isEnabled); tavoctl enable switches it on";

} // namespace tavo
