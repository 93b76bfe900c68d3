#pragma once

#include <sys/types.h>

#include <optional>

namespace tavo {

/// The user who sits at the Mac, SCDynamicStoreCopyConsoleUser. Nobody while the login window is there.
std::optional<uid_t> consoleUser();

} // namespace tavo
