#pragma once

#include "base/DescribedError.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tavo {

/// Launch at login could not be switched.
class LoginLaunchManagerError final : public DescribedError {
public:
    enum class Kind {
        bootstrapFailed,       ///< the system would not load the agent
        missingExecutablePath, ///< it is not known what is to be started
        missingDesktopApp,     ///< there is nothing to be started
        unusablePath,          ///< the program's path cannot be written down
    };

    /// @param message  shown unchanged.
    static LoginLaunchManagerError bootstrapFailed(const std::string& message) {
        return {Kind::bootstrapFailed, message};
    }
    static LoginLaunchManagerError missingExecutablePath() {
        return {Kind::missingExecutablePath, "could not determine the executable path for tavo."};
    }
    static LoginLaunchManagerError missingDesktopApp() {
        return {Kind::missingDesktopApp,
                "the desktop app does not come with this installation, so there is nothing to start at login."};
    }
    static LoginLaunchManagerError unusablePath(const std::string& path) {
        return {Kind::unusablePath,
                "the path " + path + " holds a character that no autostart entry can; install tavo elsewhere."};
    }

    Kind kind() const { return errorKind; }

    bool operator==(const LoginLaunchManagerError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    LoginLaunchManagerError(Kind kind, const std::string& description) : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
};

/// Has the desktop app started whenever the user logs in.
struct LaunchAtLoginManaging {
    virtual ~LaunchAtLoginManaging() = default;

    /// The rest of a change, which may take seconds and throws as the change itself does. Empty when nothing is left to
    /// do.
    using Remainder = std::function<void()>;

    /// Returns the part that has to wait for the system, to be called on another thread by callers that must not block.
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
