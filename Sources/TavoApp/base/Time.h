#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// A moment on the wall clock. The engine never reads the clock: every moment is passed in.
using TimePoint = std::chrono::system_clock::time_point;

/// Writes a moment as an ISO 8601 internet date in UTC with whole seconds: "2026-01-31T09:05:00Z".
std::string formatISO8601(TimePoint moment);

/// Reads what formatISO8601() writes; an offset such as "+02:00" may replace the "Z".
/// Gives nothing for any other text, an impossible date among them, and one that the clock cannot reach.
std::optional<TimePoint> parseISO8601(std::string_view text);

} // namespace tavo
