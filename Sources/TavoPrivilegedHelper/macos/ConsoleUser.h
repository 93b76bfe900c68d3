#pragma once

#include <sys/types.h>

#include <optional>

namespace tavo {

/// The user who sits at the Mac, SCDynamicStoreCopyConsoleUser. Nothing while the login window is shown.
std::optional<uid_t> consoleUser();

} // namespace tavo
