#pragma once

#include <filesystem>

namespace tavo {

/// Has the desktop app started whenever the user logs in.
struct LaunchAtLoginManaging {
    virtual ~LaunchAtLoginManaging() = default;

    /// @param executablePath  of the desktop app.
    /// @throws LoginLaunchManagerError, std::system_error and the errors of running commands.
    virtual void enable(const std::filesystem::path& executablePath) = 0;

    /// Does nothing when it is off. @throws std::system_error
    virtual void disable() = 0;

    /// Whether the next login starts the app.
    virtual bool isEnabled() const = 0;
};

} // namespace tavo
