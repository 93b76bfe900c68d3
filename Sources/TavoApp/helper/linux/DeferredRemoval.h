#pragma once

#include "system/CommandRunning.h"

#include <chrono>
#include <string>
#include <string_view>

namespace tavo {

/// The removal that the helper asks for runs as this unit: one at a time, and one that an installation can end.
inline constexpr std::string_view removalUnitName = "com.vrd.tavo.helper-removal.service";

/// Longer than the helper may take to stop, and to be cleaned up after.
inline constexpr std::chrono::seconds maxRemoval{90};

/// A command that has the service manager run a script for root's shell and exits at once.
///
/// In a unit of its own: the service's control group ends with the service, whatever runs in it. Succeeds without doing
/// anything while an earlier removal is under way.
ShellCommand deferredRemoval(const std::string& script);

} // namespace tavo
