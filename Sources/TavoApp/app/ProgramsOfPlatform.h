#pragma once

#include "app/Platform.h"
#include "system/ProcessSnapshot.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace tavo {

// What the platforms are assembled with in common.

/// The desktop app: the running program, or else what comes with it.
std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& programPath);

/// Tavo's own programs never count as a match.
std::shared_ptr<ProcessSnapshotProviding> withoutOwnPrograms(std::shared_ptr<ProcessSnapshotProviding> processes);

/// Gives the platform what calls off its waiting for an administrator and for the helper. @throws std::system_error
void makeInterruptible(Platform& platform);

} // namespace tavo
