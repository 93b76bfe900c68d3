#pragma once

#include "base/DescribedError.h"

#include <string>

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

    /// @param message  shown as it stands.
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

} // namespace tavo
