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
    static PrivilegedHelperInstallerError uninstallFailed(const std::string& message) {
        return {Kind::uninstallFailed, message};
    }
    static PrivilegedHelperInstallerError helperNotReachable() {
        return {Kind::helperNotReachable, "installed the privileged helper, but tavo could not reach it."};
    }

    Kind kind() const { return errorKind; }

    bool operator==(const PrivilegedHelperInstallerError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    PrivilegedHelperInstallerError(Kind kind, const std::string& description)
        : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
};

} // namespace tavo
