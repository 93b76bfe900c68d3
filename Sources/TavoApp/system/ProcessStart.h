#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace tavo {

/// When the process with this number started, in a unit of the system's own: together with the number it stands for one
/// process and for no later one. Nothing when there is none, or when it has ended and only waits to be reaped.
std::optional<std::uint64_t> processStart(pid_t pid);

/// Whether a process is stopped by a signal, or by a debugger, and so does nothing until it is continued.
bool isProcessStopped(pid_t pid);

} // namespace tavo
