#pragma once

#include "TavoPrivilegedHelper/HelperOptions.h"

#include <cstdint>
#include <functional>
#include <span>

namespace tavo {

/// In seconds: the helper's removal of itself waits this long. Longer than the reply takes, and shorter than the application
/// waits for the files to go.
inline constexpr std::int64_t helperRemovalDelay = 1;

/// Goes to the system's log, which knows who wrote it and when, and to standard error for somebody at a terminal. May be called
/// from any thread.
void logHelper(const std::string& line) noexcept;

/// What main() does on every system: understands the arguments, prints what they ask to be printed, and calls what the system
/// has for the other tasks. Gives the exit status; every failure is logged.
int runHelper(std::span<const char* const> arguments, const std::function<void(const HelperOptions&)>& serve,
              const std::function<void(const HelperOptions&)>& afterStop);

} // namespace tavo
