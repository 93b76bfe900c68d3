#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The form that parseDuration() accepts, for use in a sentence: "--for takes ..., not \"90\"".
constexpr std::string_view durationForms = "a duration such as 90s, 45m, 2h or 1h30m, of at most 8760h";

/// The longest duration that parseDuration() accepts: 365 days.
constexpr std::chrono::seconds maxDuration = std::chrono::hours{8760};

/// Reads a length of time as people type it: whole numbers with the units h, m and s, each unit at most once and the
/// longer one first ("90s", "45m", "2h", "1h30m", "1h0m5s"), or "0". Gives nothing for any other text, a number without
/// its unit among them, and for more than maxDuration.
std::optional<std::chrono::seconds> parseDuration(std::string_view text);

/// Writes a duration of no less than zero in the shortest form that parseDuration() reads: "1h30m", "90s" as "1m30s",
/// "0".
std::string formatDuration(std::chrono::seconds duration);

/// A length of time as one would say it, in its largest unit: "12 seconds", "3 minutes", "2 days".
std::string spokenDuration(std::int64_t seconds);

} // namespace tavo
