#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tavo {

/// Has the desktop app started whenever the user logs in.
struct LaunchAtLoginManaging {
    virtual ~LaunchAtLoginManaging() = default;

    /// The rest of a change, which may take seconds and throws as the change itself does. Empty when nothing is left to do.
    using Remainder = std::function<void()>;

    /// Gives what the system has no time for yet. Whoever must not block calls that on another thread.
    /// @param executablePath  of the desktop app.
    /// @param options  to start it with, for a system whose launch at login carries them.
    /// @throws LoginLaunchManagerError, std::system_error and the errors of running commands.
    [[nodiscard]] virtual Remainder enable(const std::filesystem::path& executablePath,
                                           const std::vector<std::string>& options) = 0;

    /// Does nothing when it is off. @throws std::system_error
    virtual void disable() = 0;

    /// Whether the next login starts the app.
    virtual bool isEnabled() const = 0;
};

} // namespace tavo
