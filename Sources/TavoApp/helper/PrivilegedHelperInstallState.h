#pragma once

namespace tavo {

/// What there is of the helper on this machine.
enum class PrivilegedHelperInstallState {
    notInstalled,         ///< one of its two files is missing
    installedUnreachable, ///< both are there, and it does not answer a ping with a pong
    ready,
};

constexpr bool isInstalled(PrivilegedHelperInstallState state) {
    return state != PrivilegedHelperInstallState::notInstalled;
}

} // namespace tavo
