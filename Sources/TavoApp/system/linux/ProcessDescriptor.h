#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace tavo {

/// A descriptor that stands for one process and never for a later one with its number, pidfd_open(2). It becomes
/// readable when the process ends. Holds nothing when there is no such process.
/// @throws std::system_error when the system cannot give one.
FileDescriptor openProcess(pid_t pid);

/// Signals the process of such a descriptor. @throws std::system_error, also when it has ended.
void signalProcess(const FileDescriptor& process, int signal);

/// Whether the process of such a descriptor has ended.
bool hasEnded(const FileDescriptor& process);

/// When the process with this number started, in clock ticks since the machine's start. Nothing when there is none, or
/// when the system hides it. @throws std::system_error when it cannot be examined.
std::optional<std::uint64_t> startTicksOf(pid_t pid);

} // namespace tavo
