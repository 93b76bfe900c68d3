#pragma once

#include "base/DescribedError.h"

#include <string>

namespace tavo {

/// The helper could not be installed or removed.
class PrivilegedHelperInstallerError final : public DescribedError {
public:
    enum class Kind { missingHelperExecutable, installFailed, uninstallFailed, helperNotReachable };

    static PrivilegedHelperInstallerError missingHelperExecutable(const std::string& path) {
        return {Kind::missingHelperExecutable, "could not find the privileged helper executable at " + path + "."};
    }
    static PrivilegedHelperInstallerError installFailed(const std::string& message) {
        return {Kind::installFailed, message};
    }
    /// installFailed, and something that is not the helper runs as root, or will.
    static PrivilegedHelperInstallerError foreignProgramInstalled(const std::string& message) {
        auto error = installFailed(message);
        error.isForeign = true;
        return error;
    }
    static PrivilegedHelperInstallerError uninstallFailed(const std::string& message) {
        return {Kind::uninstallFailed, message};
    }
    static PrivilegedHelperInstallerError helperNotReachable() {
        return {Kind::helperNotReachable, "installed the privileged helper, but tavo could not reach it."};
    }

    Kind kind() const { return errorKind; }

    /// Whether the files that lie installed are not the helper's: its answers are not to be believed.
    bool foreignProgram() const { return isForeign; }

    bool operator==(const PrivilegedHelperInstallerError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    PrivilegedHelperInstallerError(Kind kind, const std::string& description)
        : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
    bool isForeign = false;
};

} // namespace tavo
